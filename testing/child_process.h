// The worker as a process whose every stream, argument and signal a test has in hand. A client's
// process (client/process.h) is what a good host starts; this is for the others.

#ifndef TESTING_CHILD_PROCESS_H_
#define TESTING_CHILD_PROCESS_H_

#include <sys/types.h>

#include <chrono>
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace testing_support {

struct ChildSettings {
  bool closes_input = false;     // The child has no standard input at all.
  bool closes_output = false;    // No standard output.
  std::string output_path = {};  // Standard output is this file instead of a pipe.
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

  [[nodiscard]] pid_t id() const { return process_; }

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
  // What the child has written to standard error. After its end.
  [[nodiscard]] std::string errors() const;

  // The processor time that the child has used so far, or altogether once it has ended.
  [[nodiscard]] std::chrono::microseconds processorTime() const;

 private:
  pid_t process_ = 0;
  int input_ = -1;
  int output_ = -1;
  int errors_ = -1;
  std::string end_;
  std::chrono::microseconds processor_time_{};
};

// Waits for any child of this process as ChildProcess::end does.
[[nodiscard]] std::string waitForEnd(pid_t process, std::chrono::microseconds* processor_time);

}  // namespace testing_support

#endif  // TESTING_CHILD_PROCESS_H_
