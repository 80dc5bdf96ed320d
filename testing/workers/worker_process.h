// Requests of the tests of the worker as a process, and hosts that die while it works.

#ifndef TESTING_WORKERS_WORKER_PROCESS_H_
#define TESTING_WORKERS_WORKER_PROCESS_H_

#include <cstddef>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

namespace lisp_worker::testing_support {

// A ping, and a request to evaluate `text`.
[[nodiscard]] std::string pingFrame();
[[nodiscard]] std::string programFrame(std::string_view text);

// A program with a result of nearly 1 MiB, far more than a pipe holds.
[[nodiscard]] std::string wordyProgramFrame();

// A host that dies, and what its worker ends with.
struct DeadHostRow {
  std::string name;
  std::string last_words;  // Bytes that the host has sent when it dies,
  std::size_t heard;       // and how many bytes it has received.
  std::string end;         // As ChildProcess::end says it.

  friend void PrintTo(const DeadHostRow& row, std::ostream* out) { *out << row.name; }
};

[[nodiscard]] std::vector<DeadHostRow> deadHosts();

}  // namespace lisp_worker::testing_support

#endif  // TESTING_WORKERS_WORKER_PROCESS_H_
