#include <lisp_worker/client/worker.h>

#include <iostream>

int main(int count, char** arguments) {
  lisp_worker::client::Worker worker(count > 1 ? arguments[1] : "/usr/bin/lisp_worker");
  const auto run = worker.run("(+ 1 2)");
  std::cout << (run ? run->text : worker.fault()->message) << "\n";
}
