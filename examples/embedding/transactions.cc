#include <lisp_worker/client/worker.h>

#include <cstddef>
#include <iostream>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace client = lisp_worker::client;

using lisp_worker::client::Datum;
using lisp_worker::client::HostCall;

// A document that can already take back what was done since a mark.
class Document {
 public:
  void add(std::string entity) { entities_.push_back(std::move(entity)); }
  std::size_t mark() const { return entities_.size(); }
  void undoTo(std::size_t mark) noexcept { entities_.resize(mark); }

 private:
  std::vector<std::string> entities_;
};

// One program is one step of the document's undo, or nothing.
class ProgramStep : public client::HostTransaction {
 public:
  explicit ProgramStep(Document& document) : document_(document) {}

  void begin() override { mark_ = document_.mark(); }
  void commit() override {
    std::cout << "one undo step, entities: " << document_.mark() - mark_ << "\n";
  }
  void rollBack() noexcept override {
    std::cout << "taken back, entities: " << document_.mark() - mark_ << "\n";
    document_.undoTo(mark_);
  }

 private:
  Document& document_;
  std::size_t mark_ = 0;
};

int main(int count, char** arguments) {
  client::Worker worker(count > 1 ? arguments[1] : "/usr/bin/lisp_worker");
  Document document;
  ProgramStep step(document);
  const auto perform = [&document](const HostCall& call) -> std::optional<Datum> {
    if (call.name != "ENTMAKE") return std::nullopt;
    document.add(call.text);
    return call.arguments.front();
  };
  for (const char* const program :
       {"(ENTMAKE '((0 \"POINT\") (10 (0 0))))", "(ENTMAKE '((0 \"POINT\") (10 (1 1)))) (/ 1 0)",
        "(ENTMAKE '((0 \"POINT\") (10 (2 2)))) (GETPOINT)"}) {
    const auto run = worker.run(program, perform, {.transaction = &step});
    std::cout << (run ? run->text : worker.fault()->message) << "\n";
  }
  std::cout << document.mark() << " in the document\n";
}
