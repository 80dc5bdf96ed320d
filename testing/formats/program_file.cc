// The parser makes a list of steps, requests and expectations; running them is a loop over that
// list. Mistakes of the text itself, such as a request without an expected answer, are found while
// parsing.

#include "testing/formats/program_file.h"

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <map>
#include <optional>
#include <utility>

#include "lisp_worker/worker/frame.h"
#include "testing/wire/frame_makers.h"

namespace lisp_worker::testing_support {
namespace {

using Kind = ScriptStep::Kind;
using worker::WorkerStatus;

bool isBlank(std::string_view line) { return line.find_first_not_of(" \t\r") == line.npos; }

// Takes `prefix` off `text` if it begins so.
bool takePrefix(std::string_view& text, std::string_view prefix) {
  if (!text.starts_with(prefix)) return false;
  text.remove_prefix(prefix.size());
  return true;
}

// Takes a number off `text`, with the blanks before it.
template <typename Number>
std::optional<Number> takeNumber(std::string_view& text) {
  text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
  Number number{};
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc()) return std::nullopt;
  text.remove_prefix(static_cast<std::size_t>(end - text.data()));
  return number;
}

// Decodes \n, \r, \t, \\ and \xHH; empty when there is anything else after a backslash.
std::optional<std::string> decodeEscapes(std::string_view text) {
  std::string bytes;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '\\') {
      bytes += text[i];
      continue;
    }
    const char escape = ++i < text.size() ? text[i] : '\0';
    switch (escape) {
      case 'n':
        bytes += '\n';
        break;
      case 'r':
        bytes += '\r';
        break;
      case 't':
        bytes += '\t';
        break;
      case '\\':
        bytes += '\\';
        break;
      case 'x': {
        if (i + 2 >= text.size()) return std::nullopt;
        unsigned value = 0;
        const char* digits = text.data() + i + 1;
        if (std::from_chars(digits, digits + 2, value, 16).ptr != digits + 2) return std::nullopt;
        bytes += static_cast<char>(value);
        i += 2;
        break;
      }
      default:
        return std::nullopt;
    }
  }
  return bytes;
}

// Reads line by line. A program begins at the first line of code after a directive and is sent by
// the next directive, or at the end.
class Parser {
 public:
  Parser(std::string_view text, int first_line) : text_(text), line_(first_line) {}

  ProgramFile parse() {
    for (; !text_.empty(); ++line_) {
      const std::size_t size = std::min(text_.find('\n'), text_.size());
      readLine(text_.substr(0, size));
      text_.remove_prefix(std::min(size + 1, text_.size()));
    }
    sendProgram();
    if (awaits_expectation_) fail("a request without an expected answer");
    return std::move(file_);
  }

 private:
  void readLine(std::string_view line) {
    if (takePrefix(line, "; ")) {
      sendProgram();
      readDirective(line);
    } else if (program_.has_value()) {
      program_->append("\n").append(line);
    } else if (!isBlank(line) && !line.starts_with(";;")) {
      program_ = std::string(line);
      program_line_ = line_;
    }
  }

  void readDirective(std::string_view rest) {
    std::string text;
    if (takePrefix(rest, "escaped ")) {
      const std::optional<std::string> decoded = decodeEscapes(rest);
      if (!decoded.has_value()) return fail("a bad escape");
      text = *decoded;
      rest = text;
    }
    if (takePrefix(rest, "system ")) return readSystem(rest);
    if (takePrefix(rest, "resume ")) {
      const auto run_id = takeNumber<std::uint64_t>(rest);
      if (!run_id || !takePrefix(rest, ": ")) return fail("no run id");
      return request({.kind = Kind::Resume, .frame = resumeFrame(*run_id, std::string(rest))});
    }
    // "=> TEXT" or "WORDS: TEXT", where an empty text needs no blank before it.
    const std::size_t end = rest.starts_with("=>") ? 1 : std::min(rest.find(':'), rest.size());
    const std::string_view words = rest.substr(0, end + 1);
    rest.remove_prefix(words.size());
    takePrefix(rest, " ");
    readTextDirective(words, rest);
  }

  void readTextDirective(std::string_view words, std::string_view rest) {
    static constexpr std::pair<std::string_view, Kind> kTexts[] = {
        {"=>", Kind::Value},
        {"error:", Kind::EvalError},
        {"read error:", Kind::ReadError},
        {"step limit:", Kind::StepLimit}};
    for (const auto& [name, kind] : kTexts) {
      if (words == name) return expect({.kind = kind, .text = std::string(rest)});
    }
    if (words == "host call:") {
      const std::size_t name_size = std::min(rest.find(' '), rest.size());
      std::string name(rest.substr(0, name_size));
      rest.remove_prefix(std::min(name_size + 1, rest.size()));
      return expect({.kind = Kind::Call, .name = std::move(name), .text = std::string(rest)});
    }
    if (words == "program:") return start(std::string(rest), line_);
    if (words == "answer:") {
      return request({.kind = Kind::Answer, .frame = resumeFrame(0, std::string(rest))});
    }
    readNumberDirective(words, rest);
  }

  void readNumberDirective(std::string_view words, std::string_view rest) {
    static constexpr std::pair<std::string_view, Kind> kDetails[] = {
        {"steps:", Kind::Steps}, {"run:", Kind::Run}, {"arguments:", Kind::Arguments}};
    const auto number = takeNumber<std::uint64_t>(rest);
    const bool understood = number.has_value() && rest.empty();
    if (understood && words == "context:") {
      chosen_context_id_ = context_id_ = *number;
    } else if (understood && words == "cancel:") {
      request({.kind = Kind::Cancel, .frame = cancelFrame(*number)});
    } else if (understood && words == "status:") {
      expect({.kind = Kind::Status, .number = *number});
    } else {
      for (const auto& [name, kind] : kDetails) {
        if (words != name || !understood) continue;
        if (awaits_expectation_ || file_.steps.empty()) return fail("a detail before the answer");
        return push({.kind = kind, .number = *number});
      }
      fail("not a directive: " + std::string(words));
    }
  }

  // `system S: NUMBERS`
  void readSystem(std::string_view rest) {
    const auto index = takeNumber<std::size_t>(rest);
    PlanarSystem system = kIdentitySystem;
    bool understood = index && *index < worker::kSystemCount && takePrefix(rest, ":");
    for (double& field : system) {
      const auto number = takeNumber<double>(rest);
      understood = understood && number;
      field = number.value_or(0);
    }
    if (!understood || !rest.empty()) return fail("not a system and its eight numbers");
    if (awaits_expectation_) return fail("a request without an expected answer");
    context_id_ = chosen_context_id_;
    std::string& record =
        records_.try_emplace(context_id_, identityContextRecord(context_id_)).first->second;
    setSystem(record, *index, system);
    push({.kind = Kind::Register, .frame = registerFrame(context_id_, record)});
  }

  void sendProgram() {
    if (program_.has_value()) start(*std::exchange(program_, std::nullopt), program_line_);
  }

  void start(std::string program, int line) {
    request({.kind = Kind::Start, .frame = startFrame(std::move(program), context_id_)});
    file_.steps.back().line = line;
  }

  void request(ScriptStep step) {
    if (awaits_expectation_) fail("a request without an expected answer");
    awaits_expectation_ = true;
    push(std::move(step));
  }

  void expect(ScriptStep step) {
    if (!awaits_expectation_) return fail("an answer that no request asks for");
    awaits_expectation_ = false;
    push(std::move(step));
  }

  void push(ScriptStep step) {
    step.line = line_;
    file_.steps.push_back(std::move(step));
  }

  void fail(const std::string& what) {
    file_.errors.push_back(std::to_string(line_) + ": " + what);
  }

  std::string_view text_;  // The part that is still to be read.
  int line_;
  std::map<std::uint64_t, std::string> records_;  // Of the contexts that have been registered.
  std::uint64_t chosen_context_id_ = 1;           // The one that `system` registers.
  std::uint64_t context_id_ = 0;                  // Of the programs to come.
  std::optional<std::string> program_;            // Empty between programs.
  int program_line_ = 0;
  bool awaits_expectation_ = false;
  ProgramFile file_;
};

// The status and the outcome's number that an answer of this kind comes with.
struct Expected {
  WorkerStatus status;
  int eval_status;
};

std::optional<Expected> expectedOf(Kind kind) {
  switch (kind) {
    case Kind::Value:
      return Expected{WorkerStatus::Ok, 0};
    case Kind::ReadError:
      return Expected{WorkerStatus::EvalParseError, 1};
    case Kind::EvalError:
      return Expected{WorkerStatus::EvalFailed, 2};
    case Kind::StepLimit:
      return Expected{WorkerStatus::EvalStepLimit, 3};
    case Kind::Call:
      return Expected{WorkerStatus::HostCallPending, 4};
    default:
      return std::nullopt;
  }
}

bool holds(const ScriptStep& step, const FrameResponse& response) {
  const EvalResult result = decodeEvalResult(response.payload);
  if (const std::optional<Expected> expected = expectedOf(step.kind)) {
    return response.status == expected->status && result.decoded &&
           result.eval_status == expected->eval_status && result.call_name == step.name &&
           result.text == step.text && (result.run_id != 0) == (step.kind == Kind::Call);
  }
  switch (step.kind) {
    case Kind::Status:
      return static_cast<std::uint64_t>(response.status) == step.number && response.payload.empty();
    case Kind::Steps:
      return result.decoded && result.steps == step.number;
    case Kind::Run:
      return result.decoded && result.run_id == step.number;
    default:
      return result.decoded && static_cast<std::uint64_t>(result.argument_count) == step.number;
  }
}

}  // namespace

ProgramFile parseProgramFile(std::string_view text, int first_line) {
  return Parser(text, first_line).parse();
}

std::vector<std::string> runProgramFile(const ProgramFile& file, FramePort& port) {
  std::vector<std::string> faults;
  FrameResponse response;
  std::uint64_t last_run_id = 0;
  for (const ScriptStep& step : file.steps) {
    const std::string place = std::to_string(step.line) + ": ";
    Frame frame = step.frame;
    switch (step.kind) {
      case Kind::Register:
        if (port.handle(frame).status != WorkerStatus::Ok) {
          faults.push_back(place + "the context is refused");
        }
        break;
      case Kind::Answer:
        frame.run_id = last_run_id;
        [[fallthrough]];
      case Kind::Start:
      case Kind::Resume:
      case Kind::Cancel: {
        response = port.handle(frame);
        const EvalResult result = decodeEvalResult(response.payload);
        if (result.run_id != 0) last_run_id = result.run_id;
        break;
      }
      default:
        if (!holds(step, response)) faults.push_back(place + "the answer is " + describe(response));
        break;
    }
  }
  return faults;
}

}  // namespace lisp_worker::testing_support
