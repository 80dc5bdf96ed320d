// The command line of lisp_session.

#ifndef SESSION_COMMAND_LINE_H_
#define SESSION_COMMAND_LINE_H_

#include <chrono>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace lisp_worker::session {

inline constexpr std::string_view kUsage =
    R"(usage: lisp_session show FILE [--record N]
       lisp_session replay FILE --worker PATH [--time-limit MS]
       lisp_session diff FILE FILE
       lisp_session explain FILE [--worker PATH] [--time-limit MS]
       lisp_session explain FILE FILE
       lisp_session proxy --record FILE -- PATH
       lisp_session --version

  show      prints a line for each record of a session, or all of one record
  replay    sends the recorded requests to a worker again and compares every byte
  diff      tells the first record in which two sessions differ
  explain   tells why a program diverged in a session, why a session goes another way with a
            worker, or why two sessions differ
  proxy     carries what a host says to the worker PATH and back, and records it

  --record N       the record to show, counted from 0
  --record FILE    where to record; a file that exists is left alone
  --worker PATH    the worker to replay with
  --time-limit MS  how long one response may take in milliseconds; 10000 by default

Exit codes: 0 the same, or done; 1 different; 2 unusable command line or file; 3 no worker there.
proxy ends as its worker ends, except for three codes of its own: 120 unusable command line;
121 no worker there; 122 the worker has ended with 0, but not all has been recorded.
)";

enum class Command { Help, Version, Show, Replay, Diff, Explain, Proxy };

struct CommandLine {
  Command command = Command::Help;
  std::vector<std::string> files;     // Session files, in their order.
  std::optional<std::size_t> number;  // Of a record.
  std::string worker;                 // A path; empty when none is given.
  std::string recording;              // A path.
  std::chrono::milliseconds time_limit{10000};
};

// Empty when the arguments, those after the program's name, make no sense, with the reason in
// `error_out`.
[[nodiscard]] std::optional<CommandLine> parseCommandLine(
    const std::vector<std::string_view>& arguments, std::string& error_out);

}  // namespace lisp_worker::session

#endif  // SESSION_COMMAND_LINE_H_
