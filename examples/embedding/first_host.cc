#include <iostream>

#include "client/worker.h"

int main(int count, char** arguments) {
  client::Worker worker(count > 1 ? arguments[1] : "/usr/bin/lisp_worker");
  const auto run = worker.run("(+ 1 2)");
  std::cout << (run ? run->text : worker.fault()->message) << "\n";
}
