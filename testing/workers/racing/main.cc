// lisp_race: two threads count with one counter and without a lock. A build that looks for races
// must report this one, or its silence about the client would mean nothing.

#include <iostream>
#include <thread>

int main() {
  int counter = 0;
  std::thread other([&counter] { ++counter; });
  ++counter;
  other.join();
  std::cout << "counted to " << counter << "\n";
}
