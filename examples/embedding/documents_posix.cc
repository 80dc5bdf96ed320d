#include <lisp_worker/client/async_worker.h>
#include <poll.h>

#include <array>
#include <iostream>
#include <map>
#include <string>
#include <utility>

namespace client = lisp_worker::client;

// A document with a worker of its own, and the programs that run in it.
class Document {
 public:
  Document(std::string name, const char* worker) : name_(std::move(name)), worker_(worker) {}

  // A menu calls this: it hands the program over and returns.
  client::ProgramId run(const std::string& program) {
    ++open_count_;
    return worker_.submit(
        program, {.on_call =
                      [this](client::ProgramId id, const client::HostCall& call) {
                        std::cout << name_ << ": program " << id << " asks " << call.text << "\n";
                        questions_[id] = call.text;
                      },
                  .on_end =
                      [this](client::ProgramId id, const client::ProgramOutcome& outcome) {
                        std::cout << name_ << ": program " << id << " has ended: "
                                  << (outcome.hasValue() ? outcome.report.text : "without a value")
                                  << "\n";
                        questions_.erase(id);
                        --open_count_;
                      }});
  }

  // The user's part: the button that cancels a program, and an answer to each open question.
  void pressCancel(client::ProgramId id) { worker_.cancel(id); }
  void answerAll(double distance) {
    for (const auto& question : std::exchange(questions_, {})) {
      worker_.answer(question.first, client::number(distance));
    }
  }

  [[nodiscard]] std::size_t openCount() const { return open_count_; }
  [[nodiscard]] std::size_t questionCount() const { return questions_.size(); }
  [[nodiscard]] pollfd waiting() const { return {static_cast<int>(worker_.handle()), POLLIN, 0}; }
  void process() { worker_.process(); }

 private:
  std::string name_;
  client::AsyncWorker worker_;
  std::map<client::ProgramId, std::string> questions_;
  std::size_t open_count_ = 0;
};

// A turn of the event loop: waits for both workers, and would wait for windows, too.
void turn(Document& first, Document& second) {
  std::array<pollfd, 2> waiting = {first.waiting(), second.waiting()};
  poll(waiting.data(), waiting.size(), -1);
  first.process();
  second.process();
}

int main(int count, char** arguments) {
  const char* const worker = count > 1 ? arguments[1] : "/usr/bin/lisp_worker";
  Document plan("plan", worker);
  Document section("section", worker);
  plan.run("(* 2 (GETDIST \"Width: \"))");
  const client::ProgramId unwanted = plan.run("(GETDIST \"Length: \")");
  while (plan.questionCount() < 2) turn(plan, section);
  section.run("(+ 1 (GETDIST \"Height: \"))");
  while (section.questionCount() < 1) turn(plan, section);

  plan.pressCancel(unwanted);
  while (plan.openCount() > 1) turn(plan, section);
  section.answerAll(3);
  while (section.openCount() > 0) turn(plan, section);
  plan.answerAll(20);
  while (plan.openCount() > 0) turn(plan, section);
}
