#include <lisp_worker/client/names.h>
#include <lisp_worker/client/worker.h>

#include <chrono>
#include <iostream>

namespace client = lisp_worker::client;

int main(int count, char** arguments) {
  if (count < 3) return 2;
  // The second argument is a program that takes requests and never answers.
  client::Worker worker(arguments[2], {.time_limit = std::chrono::milliseconds(200)});
  const auto run = worker.run("(+ 1 2)");
  if (run) return 1;
  std::cout << client::faultName(worker.fault()->kind) << "\n"
            << worker.fault()->message << "\n"
            << client::describeExit(*worker.exit()) << "\n";
}
