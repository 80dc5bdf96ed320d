#include "testing/formats/program_file.h"

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <optional>
#include <utility>

#include "testing/wire/frame_makers.h"
#include "worker/frame.h"

namespace testing_support {
namespace {

using Kind = ScriptStep::Kind;
using worker::WorkerStatus;

constexpr std::string_view kSeparator = "; ---";

bool startsWith(std::string_view text, std::string_view prefix) {
  return text.substr(0, prefix.size()) == prefix;
}

bool isBlank(std::string_view line) { return line.find_first_not_of(" \t\r") == line.npos; }

// Takes the first word off `text`, and the one space that follows it.
std::string takeWord(std::string_view& text) {
  const std::size_t end = std::min(text.find(' '), text.size());
  std::string word(text.substr(0, end));
  text.remove_prefix(std::min(end + 1, text.size()));
  return word;
}

template <typename Number>
std::optional<Number> parseNumber(std::string_view text) {
  Number number{};
  const char* end = text.data() + text.size();
  const std::from_chars_result result = std::from_chars(text.data(), end, number);
  if (result.ec != std::errc() || result.ptr != end) return std::nullopt;
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

class Parser {
 public:
  explicit Parser(std::string_view text) : text_(text) {}

  ProgramFile parse() {
    std::size_t begin = 0;
    while (begin < text_.size()) {
      const std::size_t end = std::min(text_.find('\n', begin), text_.size());
      ++line_;
      readLine(text_.substr(begin, end - begin));
      begin = end + 1;
    }
    endSection();
    return std::move(file_);
  }

 private:
  void readLine(std::string_view line) {
    if (line == kSeparator) {
      endSection();
    } else if (startsWith(line, "; ")) {
      readDirective(line.substr(2));
    } else if (in_script_) {
      if (!isBlank(line) && !startsWith(line, ";;")) fail("a program after its script");
    } else if (program_.has_value()) {
      *program_ += '\n';
      *program_ += line;
    } else if (!isBlank(line) && !startsWith(line, ";;")) {
      program_ = std::string(line);
      program_line_ = line_;
    }
  }

  void endSection() {
    sendProgram();
    if (awaits_expectation_) fail("a request without an expected answer");
    in_script_ = false;
    awaits_expectation_ = false;
    context_id_ = 0;
  }

  void readDirective(std::string_view rest) {
    in_script_ = true;
    std::string word = takeWord(rest);
    std::string text(rest);
    if (word == "escaped") {
      word = takeWord(rest);
      const std::optional<std::string> decoded = decodeEscapes(rest);
      if (!decoded.has_value()) return fail("a bad escape");
      text = *decoded;
    }
    if (word == "register") return readRegistration(rest);
    if (word == "in") {
      const std::optional<std::uint64_t> id = parseNumber<std::uint64_t>(rest);
      if (!id.has_value()) return fail("no context id");
      context_id_ = *id;
      return;
    }
    if (word == "program") {
      program_ = text;
      program_line_ = line_;
      return sendProgram();
    }
    sendProgram();
    if (word == "answer") return request(Kind::Answer, resumeFrame(0, text));
    if (word == "resume" || word == "cancel") return readRunRequest(word, rest);
    readExpectation(word, rest, text);
  }

  void readRunRequest(const std::string& word, std::string_view rest) {
    const std::optional<std::uint64_t> run_id = parseNumber<std::uint64_t>(takeWord(rest));
    if (!run_id.has_value()) return fail("no run id");
    if (word == "cancel") return request(Kind::Cancel, cancelFrame(*run_id));
    request(Kind::Resume, resumeFrame(*run_id, std::string(rest)));
  }

  // `register 7 system 1 ox oy a b c d zs zo ...`: identity but for the systems named.
  void readRegistration(std::string_view rest) {
    const std::optional<std::uint64_t> id = parseNumber<std::uint64_t>(takeWord(rest));
    if (!id.has_value()) return fail("no context id");
    std::string record = identityContextRecord(*id);
    while (!rest.empty()) {
      if (takeWord(rest) != "system") return fail("not a system");
      const std::optional<std::size_t> index = parseNumber<std::size_t>(takeWord(rest));
      if (!index.has_value() || *index >= worker::kSystemCount) return fail("no system code");
      PlanarSystem system = kIdentitySystem;
      for (double& field : system) {
        const std::optional<double> number = parseNumber<double>(takeWord(rest));
        if (!number.has_value()) return fail("not the eight numbers of a system");
        field = *number;
      }
      setSystem(record, *index, system);
    }
    push(Kind::Register).frame = registerFrame(*id, record);
  }

  void readExpectation(const std::string& word, std::string_view rest, const std::string& text) {
    static constexpr std::pair<std::string_view, Kind> kAnswers[] = {
        {"=>", Kind::Value},
        {"read-error", Kind::ReadError},
        {"eval-error", Kind::EvalError},
        {"step-limit", Kind::StepLimit}};
    static constexpr std::pair<std::string_view, Kind> kNumbers[] = {
        {"steps", Kind::Steps}, {"run", Kind::Run}, {"arguments", Kind::Arguments}};
    for (const auto& [name, kind] : kAnswers) {
      if (word == name) return expect(kind, "", text, 0);
    }
    if (word == "call") {
      std::string_view arguments = text;
      const std::string name = takeWord(arguments);
      return expect(Kind::Call, name, std::string(arguments), 0);
    }
    const std::optional<std::uint64_t> number = parseNumber<std::uint64_t>(rest);
    if (word == "status" && number.has_value()) return expect(Kind::Status, "", "", *number);
    for (const auto& [name, kind] : kNumbers) {
      if (word != name || !number.has_value()) continue;
      if (awaits_expectation_) return fail("a detail before the answer");
      push(kind).number = *number;
      return;
    }
    fail("not a directive: " + word);
  }

  void expect(Kind kind, std::string name, std::string text, std::uint64_t number) {
    if (!awaits_expectation_) return fail("an answer that no request asks for");
    awaits_expectation_ = false;
    ScriptStep& step = push(kind);
    step.name = std::move(name);
    step.text = std::move(text);
    step.number = number;
  }

  void sendProgram() {
    if (!program_.has_value()) return;
    request(Kind::Start, startFrame(*program_, context_id_));
    file_.steps.back().line = program_line_;
    program_.reset();
  }

  void request(Kind kind, Frame frame) {
    if (awaits_expectation_) fail("a request without an expected answer");
    awaits_expectation_ = true;
    push(kind).frame = std::move(frame);
  }

  ScriptStep& push(Kind kind) {
    file_.steps.emplace_back();
    file_.steps.back().kind = kind;
    file_.steps.back().line = line_;
    return file_.steps.back();
  }

  void fail(const std::string& what) {
    file_.errors.push_back(std::to_string(line_) + ": " + what);
  }

  std::string_view text_;
  ProgramFile file_;
  int line_ = 0;
  bool in_script_ = false;
  bool awaits_expectation_ = false;
  std::optional<std::string> program_;
  int program_line_ = 0;
  std::uint64_t context_id_ = 0;
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

ProgramFile parseProgramFile(std::string_view text) { return Parser(text).parse(); }

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

}  // namespace testing_support
