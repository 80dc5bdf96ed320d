// The evaluator.
//
// The input is texts between zero bytes: programs, and, where one begins with '>', the host's
// answer to the call that the last program waits for. A byte '?' at the front of a program makes
// a generated one, whose seed is the rest of the text.
//
// Every program runs twice from the same environment: what the first time has found out about its
// functions must not show. One input in sixteen also goes through the literal evaluator, which
// copies everything and resolves nothing: outcome, steps and what is left behind for the next
// program must be the same. It takes a hundred times as long, so it would decide how much is tried
// at all. Which inputs it gets is told by their bytes, so that what is found is found again.

#include <algorithm>
#include <memory>
#include <set>
#include <utility>
#include <vector>

#include "fuzz/law.h"
#include "host/run.h"
#include "lisp/graveyard.h"
#include "lisp/interpreter.h"
#include "lisp/printer.h"
#include "lisp/reader.h"
#include "lisp/value.h"
#include "testing/base/random.h"
#include "testing/generators/program_generator.h"
#include "testing/reference/literal_encoder.h"
#include "testing/reference/literal_interpreter.h"
#include "testing/reference/literal_reader.h"
#include "testing/workers/evaluator.h"

namespace {

using lisp_worker::testing_support::LiteralOutcome;
using lisp_worker::testing_support::LiteralOutcomeKind;

// Fewer than the worker's own, so that loops without end cost little. The depth is the worker's.
constexpr std::uint64_t kStepsMax = 250;
constexpr lisp::EvalLimits kLimits{kStepsMax, 128};
constexpr lisp_worker::testing_support::LiteralLimits kLiteralLimits{kStepsMax, 128, 20'000};
constexpr std::size_t kAnswersMax = 4;
constexpr std::size_t kProgramsMax = 8;
constexpr std::size_t kNamesMax = 6;
constexpr std::size_t kInputSizeMax = 1024;
constexpr std::uint64_t kOfWhichOneIsCompared = 16;

// True when the input goes through the literal evaluator as well.
bool isCompared(std::string_view input) {
  std::uint64_t hash = 14695981039346656037U;
  for (const char c : input) hash = (hash ^ static_cast<unsigned char>(c)) * 1099511628211U;
  return (hash >> 32) % kOfWhichOneIsCompared == 0;
}

std::string argumentsText(const std::vector<lisp::LispValue>& arguments) {
  std::string text;
  for (const lisp::LispValue& argument : arguments) text += ' ' + lisp::encodeValue(argument);
  return text;
}

std::string argumentsText(
    const std::vector<lisp_worker::testing_support::LiteralValue>& arguments) {
  std::string text;
  for (const auto& argument : arguments)
    text += ' ' + lisp_worker::testing_support::literalEncodeValue(argument);
  return text;
}

// All of an outcome, in words.
std::string wordsOf(const lisp::EvalOutcome& outcome) {
  std::string words = std::to_string(static_cast<int>(outcome.kind)) + " after " +
                      std::to_string(outcome.steps) + ": " + outcome.message + "\n" +
                      lisp::encodeValue(outcome.value);
  if (outcome.host_call) {
    words += "\n" + outcome.host_call->name + argumentsText(outcome.host_call->arguments);
  }
  return words;
}

std::string wordsOf(const LiteralOutcome& outcome) {
  std::string words = std::to_string(static_cast<int>(outcome.kind)) + " after " +
                      std::to_string(outcome.steps) + ": " + outcome.message + "\n" +
                      lisp_worker::testing_support::literalEncodeValue(outcome.value);
  if (outcome.host_call) {
    words += "\n" + outcome.host_call->name + argumentsText(outcome.host_call->arguments);
  }
  return words;
}

// Unequal values are equal in this sense if both hold a NaN: nothing is said about these.
bool mayBeEqual(const lisp::LispValue& a, const lisp::LispValue& b) {
  return lisp::valuesEqual(a, b) ||
         (!lisp::valuesEqual(a, a) && !lisp::valuesEqual(b, b) && a.kind() == b.kind());
}

// The evaluator, and the literal one beside it if they are to be compared, with the environments
// that they have built.
class Pair {
 public:
  explicit Pair(bool is_compared) : is_compared_(is_compared) {}

  [[nodiscard]] bool isCompared() const { return is_compared_; }

  // Runs `text`, with the answers so far. False when the literal evaluator gives up.
  bool run(const std::string& text) {
    lisp::EvalOutcome first;
    {
      host::StoredProgram program{text, {}};
      lisp::Interpreter interpreter(environment_, nullptr, answered_ ? &transcript_ : nullptr);
      first = host::run_program(interpreter, program, kLimits);
    }
    host::StoredProgram program{text, {}};
    lisp::Interpreter interpreter(environment_, nullptr, answered_ ? &transcript_ : nullptr);
    const lisp::EvalOutcome outcome = host::run_program(interpreter, program, kLimits);
    lisp_worker::fuzz::require(first.kind == outcome.kind && first.steps == outcome.steps &&
                                   first.message == outcome.message &&
                                   mayBeEqual(first.value, outcome.value),
                               "a program does the same the second time", text);
    waiting_ = outcome.host_call.has_value();
    if (waiting_) call_ = *outcome.host_call;
    if (is_compared_ && !compare(text, outcome)) return false;
    if (outcome.kind == lisp::OutcomeKind::Value) interpreter.commit(environment_);
    return true;
  }

  // Notes the answer to the call that the last run waits for. False when there is none, or the
  // text is no datum.
  bool answer(std::string_view text) {
    std::string error;
    const auto answer = lisp::parseProgram(text, &error);
    if (!waiting_ || !answer || transcript_.size() == kAnswersMax) return false;
    transcript_.push_back({call_.name, call_.arguments, *answer});
    answered_ = true;
    if (!is_compared_) return true;
    const auto literal_answer = lisp_worker::testing_support::literalParseSingle(text, &error);
    lisp_worker::fuzz::require(literal_answer.has_value(), "both readers read an answer", text);
    literal_transcript_.push_back({literal_call_.name, literal_call_.arguments, *literal_answer});
    return true;
  }

  void forgetAnswers() {
    transcript_.clear();
    literal_transcript_.clear();
    answered_ = false;
  }

 private:
  bool compare(const std::string& text, const lisp::EvalOutcome& outcome) {
    lisp_worker::testing_support::LiteralInterpreter literal(
        literal_state_, kLiteralLimits, nullptr, answered_ ? &literal_transcript_ : nullptr);
    const LiteralOutcome literal_outcome = literal.runProgram(text);
    if (literal_outcome.kind == LiteralOutcomeKind::Abandoned) return false;
    lisp_worker::fuzz::requireEqual(wordsOf(outcome), wordsOf(literal_outcome), text);
    if (outcome.kind == lisp::OutcomeKind::Value) literal_state_ = literal.state();
    if (waiting_) literal_call_ = *literal_outcome.host_call;
    return true;
  }

  bool is_compared_;
  lisp::Environment environment_;
  lisp::HostTranscript transcript_;
  lisp::HostCall call_;
  lisp_worker::testing_support::LiteralState literal_state_;
  lisp_worker::testing_support::LiteralTranscript literal_transcript_;
  lisp_worker::testing_support::LiteralHostCall literal_call_;
  bool waiting_ = false;
  bool answered_ = false;
};

// The names that a text mentions, roughly.
void collectNames(std::string_view text, std::set<std::string>& names) {
  std::string name;
  for (const char c : text) {
    if (std::string_view(" \t\r\n()';\"\x1A").find(c) == std::string_view::npos) {
      name += c;
    } else if (!name.empty()) {
      names.insert(std::exchange(name, {}));
    }
  }
  if (!name.empty()) names.insert(name);
}

void runInput(const std::uint8_t* data, std::size_t size) {
  lisp_worker::fuzz::Input input(data, std::min(size, kInputSizeMax));
  Pair pair(isCompared({reinterpret_cast<const char*>(data), size}));
  std::size_t programs = 0;
  std::set<std::string> names;
  std::string program;
  std::unique_ptr<lisp_worker::testing_support::Random> random;
  std::unique_ptr<lisp_worker::testing_support::ProgramGenerator> generator;
  while (!input.empty()) {
    const std::string_view text = input.text();
    if (text.starts_with('>')) {
      if (!pair.answer(text.substr(1))) continue;
      if (!pair.run(program)) return;
      continue;
    }
    if (++programs > kProgramsMax) break;
    pair.forgetAnswers();
    program = text;
    if (text.starts_with('?')) {
      if (generator == nullptr) {
        std::uint64_t seed = 0;
        for (const char c : text) seed = seed * 257 + static_cast<unsigned char>(c);
        random = std::make_unique<lisp_worker::testing_support::Random>(seed);
        generator = std::make_unique<lisp_worker::testing_support::ProgramGenerator>(*random);
        if (!pair.run(generator->bindings())) return;
      }
      program = generator->program();
    }
    collectNames(program, names);
    if (!pair.run(program)) return;
  }
  if (!pair.isCompared()) return;
  // The definitions that are left behind, by name.
  pair.forgetAnswers();
  std::size_t count = 0;
  for (const std::string& name : names) {
    if (++count > kNamesMax) break;
    if (!pair.run(name) || !pair.run("(" + name + " 1)")) return;
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const lisp_worker::testing_support::Evaluator installs_the_builtins;
  runInput(data, size);
  // Dropped values must not wait for the inputs that follow.
  lisp::takeAllApart();
  return 0;
}
