// Commands and options are tables: a row says how many files a command takes, or which commands
// take an option. So each message about a wrong command line is made in one place.

#include "session/command_line.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <set>
#include <system_error>
#include <utility>

#include "session/plain_text.h"

namespace lisp_worker::session {
namespace {

struct CommandRow {
  std::string_view name;
  Command command;
  std::size_t files_min;
  std::size_t files_max;
};

constexpr CommandRow kCommands[] = {
    {"show", Command::Show, 1, 1},   {"replay", Command::Replay, 1, 1},
    {"diff", Command::Diff, 2, 2},   {"explain", Command::Explain, 1, 2},
    {"proxy", Command::Proxy, 0, 0},
};

struct Option {
  std::string_view name;
  Command commands[2];  // That take it; twice the same when there is one.
};

constexpr Option kOptions[] = {
    {"--worker", {Command::Replay, Command::Explain}},
    {"--time-limit", {Command::Replay, Command::Explain}},
    {"--record", {Command::Show, Command::Proxy}},
    {"--", {Command::Proxy, Command::Proxy}},
};

// The whole text must be the number: "12x" is a mistake and not 12.
template <typename Number>
bool readNumber(std::string_view text, Number& number) {
  const char* const end = text.data() + text.size();
  const auto read = std::from_chars(text.data(), end, number);
  return read.ec == std::errc() && read.ptr == end;
}

// Reads from left to right and stops at the first mistake. What a command needs is checked after
// all arguments are read, since options may come before files or after them.
class Parser {
 public:
  explicit Parser(const std::vector<std::string_view>& arguments) : arguments_(arguments) {}

  std::optional<CommandLine> parse(std::string& error_out) {
    if (readAll()) return std::move(line_);
    error_out = error_;
    return std::nullopt;
  }

 private:
  bool readAll() {
    if (arguments_.empty()) return fail("no command given");
    const std::string_view name = arguments_[next_++];
    if (name == "--help" || name == "-h" || name == "help") return true;
    if (name == "--version") {
      line_.command = Command::Version;
      return true;
    }
    const auto* const row =
        std::find_if(std::begin(kCommands), std::end(kCommands),
                     [name](const CommandRow& each) { return each.name == name; });
    if (row == std::end(kCommands)) return fail("no command named " + std::string(name));
    line_.command = row->command;
    name_ = name;
    while (next_ < arguments_.size()) {
      if (!readOne()) return false;
    }
    if (line_.files.size() < row->files_min) {
      return fail(std::string(name) + " needs " + counted(row->files_min, "file"));
    }
    if (line_.files.size() > row->files_max) {
      if (row->files_max == 0) return fail(std::string(name) + " does not take " + line_.files[0]);
      return fail(std::string(name) + " takes no more than " + counted(row->files_max, "file"));
    }
    if (line_.command == Command::Replay && line_.worker.empty()) return fail("no --worker given");
    if (line_.command == Command::Proxy && line_.worker.empty()) return fail("no -- PATH given");
    if (line_.command == Command::Proxy && line_.recording.empty()) {
      return fail("no --record FILE given");
    }
    if (line_.command == Command::Explain && line_.files.size() == 2 && !line_.worker.empty()) {
      return fail("explain takes a second file or a worker");
    }
    return true;
  }

  bool readOne() {
    const std::string_view argument = arguments_[next_++];
    if (!argument.starts_with('-')) {
      line_.files.emplace_back(argument);
      return true;
    }
    const Option* const option =
        std::find_if(std::begin(kOptions), std::end(kOptions),
                     [argument](const Option& each) { return each.name == argument; });
    if (option == std::end(kOptions)) return fail("unknown option " + std::string(argument));
    const Command command = line_.command;
    const bool is_taken = std::find(std::begin(option->commands), std::end(option->commands),
                                    command) != std::end(option->commands);
    if (!is_taken) return fail(name_ + " has no option " + std::string(argument));
    if (next_ == arguments_.size()) return fail(std::string(argument) + " needs a value");
    const std::string_view value = arguments_[next_++];
    if (value.empty()) return fail(std::string(argument) + " needs a value that is not empty");
    // The second value would hide the first, which is never meant.
    if (!given_.insert(argument).second) return fail(std::string(argument) + " is given twice");
    if (argument == "--worker" || argument == "--") {
      line_.worker = value;
    } else if (argument == "--record" && command == Command::Proxy) {
      // The proxy records into a file; show takes the number of a record.
      line_.recording = value;
    } else if (argument == "--record") {
      line_.number = 0;
      if (!readNumber(value, *line_.number)) {
        return fail("--record needs a record's number, not " + std::string(value));
      }
    } else {
      std::uint32_t limit = 0;
      if (!readNumber(value, limit)) {
        return fail("--time-limit needs milliseconds from 0 to 4294967295, not " +
                    std::string(value));
      }
      line_.time_limit = std::chrono::milliseconds(limit);
    }
    return true;
  }

  bool fail(std::string reason) {
    error_ = std::move(reason);
    return false;
  }

  const std::vector<std::string_view>& arguments_;
  std::size_t next_ = 0;
  CommandLine line_;
  std::string name_;                  // Of the command.
  std::set<std::string_view> given_;  // Options.
  std::string error_;
};

}  // namespace

std::optional<CommandLine> parseCommandLine(const std::vector<std::string_view>& arguments,
                                            std::string& error_out) {
  return Parser(arguments).parse(error_out);
}

}  // namespace lisp_worker::session
