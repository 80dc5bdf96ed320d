// The worker as a process whose every stream, argument and signal a test has in hand. A client's
// process (client/process.h) is what a good host starts; this is for the others.

#ifndef TESTING_WORKERS_CHILD_PROCESS_H_
#define TESTING_WORKERS_CHILD_PROCESS_H_

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace lisp_worker::testing_support {

// An open stream as the system names it: a descriptor on POSIX systems, a handle on Windows.
using SystemStream = std::intptr_t;

struct ChildSettings {
  bool closes_input = false;   // The child has no standard input at all.
  bool closes_output = false;  // No standard output.
  // Standard input or output is this instead of a pipe. Whether the child inherits what the value
  // stands for is the caller's business.
  std::optional<SystemStream> input = {};
  std::optional<SystemStream> output = {};
  std::vector<std::string> arguments = {};
  // Names of environment variables with their values (NAME=value), on top of the test's own.
  std::vector<std::string> environment = {};
  std::string executable = {};  // Another one than the worker's.
};

class ChildProcess {
 public:
  // Starts the worker's executable; a failure fails the running test.
  explicit ChildProcess(const ChildSettings& settings = {});
  // Kills what is left of it.
  ~ChildProcess();
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;

  // The number that the system knows the process by.
  [[nodiscard]] std::int64_t id() const;

  // Writes all of `bytes` to the child's input, as far as it takes them.
  void send(std::string_view bytes) const;
  // Ends the child's input.
  void endInput();
  // Stops reading its output.
  void closeOutput();
  // The next `size` bytes of the child's output, or fewer when it ends before or is silent for too
  // long.
  [[nodiscard]] std::string receive(std::size_t size) const;
  // Everything that is still to come of it. The child's input should have ended.
  [[nodiscard]] std::string receiveAll() const;

  // Waits for the child and says how it ended: "exit code 5", "signal 13", or "still running" when
  // that takes too long.
  std::string end();
  // The child's output on standard error. To be asked after its end.
  [[nodiscard]] std::string errors() const;

  // The processor time that the child has used so far, or altogether once it has ended.
  [[nodiscard]] std::chrono::microseconds processorTime() const;

 private:
  struct State;

  std::unique_ptr<State> state_;
};

}  // namespace lisp_worker::testing_support

#endif  // TESTING_WORKERS_CHILD_PROCESS_H_
