#include <lisp_worker/client/answer_text.h>
#include <lisp_worker/client/worker.h>

#include <iostream>
#include <optional>

namespace client = lisp_worker::client;

using lisp_worker::client::Datum;
using lisp_worker::client::HostCall;

// Performs a call and returns its answer; nothing cancels the program.
std::optional<Datum> perform(const HostCall& call) {
  std::cout << call.name << " with " << client::list(call.arguments) << "\n";
  if (call.name == "GETPOINT") return client::point(100, 50, 0);
  if (call.name == "GETDIST") return client::number(12.5);
  if (call.name == "SSGET") {
    return client::selectionSet({client::string("1F"), client::string("20")});
  }
  return std::nullopt;
}

int main(int count, char** arguments) {
  client::Worker worker(count > 1 ? arguments[1] : "/usr/bin/lisp_worker");
  for (const char* const program :
       {"(SETQ C (GETPOINT \"Centre: \"))(POLAR C 0 (GETDIST C \"Radius: \"))",
        "(SSLENGTH (SSGET \"X\" '((8 \"HOLES\"))))", "(OSNAP C \"cen\")", "(/ 1 0)"}) {
    const auto run = worker.run(program, perform);
    if (!run) {
      std::cerr << worker.fault()->message << "\n";
      return 1;
    }
    std::cout << client::runEndName(run->end) << ": " << run->text << "\n";
    for (const client::LimitWarning& warning : run->warnings) {
      std::cout << client::describeWarning(warning) << "\n";
    }
  }
}
