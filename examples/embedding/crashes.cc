#include <lisp_worker/client/worker.h>

#include <iostream>
#include <memory>
#include <string>

namespace client = lisp_worker::client;

int main(int count, char** arguments) {
  if (count < 4) return 2;
  // A worker that is no worker the first time, and a good one from then on. The third argument is a
  // program that ends at once.
  int start_count = 0;
  client::Worker worker([&](std::string* error) {
    return client::startWorker(start_count++ == 0 ? arguments[3] : arguments[1], error);
  });

  for (int attempt = 1; attempt <= 3; ++attempt) {
    const auto run = worker.run("(+ 1 2)");
    if (run) {
      std::cout << "attempt " << attempt << ": " << run->text << "\n";
      return 0;
    }
    std::cout << "attempt " << attempt << ": " << worker.fault()->message << "\n";
    worker.restart();
  }
  return 1;
}
