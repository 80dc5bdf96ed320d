// A host that does nothing but run a program many times, for comparisons with other interpreters.
//
//   workload_host <worker> <rounds> <file with the program> [<file that is run once before>]
//
// Prints the value of the last round.

#include <cstdlib>
#include <fstream>
#include <iostream>
#include <iterator>
#include <optional>
#include <span>
#include <string>

#include "lisp_worker/client/worker.h"

namespace {

std::string contentsOf(const char* path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

// The value of the program; the end of the process when it has none.
std::string valueOf(lisp_worker::client::Worker& worker, const std::string& program) {
  std::optional<lisp_worker::client::Reply<lisp_worker::client::EvalResult>> reply =
      worker.evalStart(program, 0);
  if (reply && reply->status == lisp_worker::worker::WorkerStatus::Ok)
    return std::move(reply->value->text);
  std::cerr << "workload_host: the program fails: "
            << (worker.fault() ? worker.fault()->message
                               : (reply && reply->value ? reply->value->text : ""))
            << "\n";
  std::exit(EXIT_FAILURE);
}

}  // namespace

int main(int count, char** words) {
  const std::span<char*> arguments(words, static_cast<std::size_t>(count));
  if (count != 4 && count != 5) {
    std::cerr << "usage: workload_host <worker> <rounds> <program> [<program before>]\n";
    return EXIT_FAILURE;
  }
  lisp_worker::client::Worker worker{std::filesystem::path(arguments[1])};
  if (count == 5) static_cast<void>(valueOf(worker, contentsOf(arguments[4])));
  const long rounds = std::strtol(arguments[2], nullptr, 10);
  const std::string program = contentsOf(arguments[3]);
  std::string value;
  for (long round = 0; round < rounds; ++round) value = valueOf(worker, program);
  std::cout << value << "\n";
  return EXIT_SUCCESS;
}
