#include "session/command_line.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <system_error>
#include <utility>

namespace session {
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

template <typename Number>
bool readNumber(std::string_view text, Number& number) {
  const char* const end = text.data() + text.size();
  const auto read = std::from_chars(text.data(), end, number);
  return read.ec == std::errc() && read.ptr == end;
}

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
    const auto* const row =
        std::find_if(std::begin(kCommands), std::end(kCommands),
                     [name](const CommandRow& each) { return each.name == name; });
    if (row == std::end(kCommands)) return fail("no command named " + std::string(name));
    line_.command = row->command;
    while (next_ < arguments_.size()) {
      if (!readOne()) return false;
    }
    if (line_.files.size() < row->files_min || line_.files.size() > row->files_max) {
      return fail(std::string(name) + " does not take " + std::to_string(line_.files.size()) +
                  " files");
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
    if (next_ == arguments_.size()) return fail(std::string(argument) + " needs a value");
    const std::string_view value = arguments_[next_++];
    const Command command = line_.command;
    const bool takes_worker = command == Command::Replay || command == Command::Explain;
    if ((argument == "--worker" && takes_worker) ||
        (argument == "--" && command == Command::Proxy)) {
      line_.worker = value;
      return true;
    }
    if (argument == "--record" && command == Command::Proxy) {
      line_.recording = value;
      return true;
    }
    if (argument == "--record" && command == Command::Show) {
      line_.number = 0;
      return readNumber(value, *line_.number) || fail("not a number: " + std::string(value));
    }
    if (argument == "--time-limit" && takes_worker) {
      std::uint32_t limit = 0;
      if (!readNumber(value, limit)) return fail("not a number: " + std::string(value));
      line_.time_limit = std::chrono::milliseconds(limit);
      return true;
    }
    return fail("unknown option " + std::string(argument));
  }

  bool fail(std::string reason) {
    error_ = std::move(reason);
    return false;
  }

  const std::vector<std::string_view>& arguments_;
  std::size_t next_ = 0;
  CommandLine line_;
  std::string error_;
};

}  // namespace

std::optional<CommandLine> parseCommandLine(const std::vector<std::string_view>& arguments,
                                            std::string& error_out) {
  return Parser(arguments).parse(error_out);
}

}  // namespace session
