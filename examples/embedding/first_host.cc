#include <iostream>

#include "client/worker.h"

int main(int, char** arguments) {
  client::Worker worker(arguments[1]);
  const auto run = worker.run("(+ 1 2)");
  std::cout << (run ? run->text : worker.fault()->message) << "\n";
}
