// The evaluator.
//
// The input is texts between zero bytes: programs, and, where one begins with '>', the host's
// answer to the call that the last program waits for. Each is answered by the worker's evaluator
// and by the literal one, which copies everything and resolves nothing; outcome, steps and what is
// left behind for the next program must be the same. A byte '?' at the front of a program stands
// for a generated one, whose seed is the rest of the text.

#include <memory>
#include <set>
#include <utility>
#include <vector>

#include "fuzz/law.h"
#include "host/run.h"
#include "lisp/interpreter.h"
#include "lisp/reader.h"
#include "testing/base/random.h"
#include "testing/generators/program_generator.h"
#include "testing/reference/literal_encoder.h"
#include "testing/reference/literal_interpreter.h"
#include "testing/reference/literal_reader.h"
#include "testing/workers/evaluator.h"
#include "worker/encoding.h"

namespace {

using lisp_worker::testing_support::LiteralOutcome;
using lisp_worker::testing_support::LiteralOutcomeKind;

// Fewer than the worker's own, so that loops without end cost little. The depth is the worker's.
constexpr std::uint64_t kStepsMax = 1500;
constexpr lisp::EvalLimits kLimits{kStepsMax, 128};
constexpr lisp_worker::testing_support::LiteralLimits kLiteralLimits{kStepsMax, 128, 200'000};
constexpr std::size_t kAnswersMax = 8;

std::string argumentsText(const std::vector<lisp::LispValue>& arguments) {
  std::string text;
  for (const lisp::LispValue& argument : arguments)
    text += ' ' + lisp_worker::worker::encodeValue(argument);
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
                      lisp_worker::worker::encodeValue(outcome.value);
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

// Both evaluators side by side, with the environments that they have built.
class Pair {
 public:
  // Runs `text`, with the answers so far. False when the literal evaluator gives up.
  bool run(const std::string& text) {
    host::Program program{text, {}};
    lisp::Interpreter interpreter(environment_, nullptr, answered_ ? &transcript_ : nullptr);
    const lisp::EvalOutcome outcome = host::run_program(interpreter, program, kLimits);
    lisp_worker::testing_support::LiteralInterpreter literal(
        literal_state_, kLiteralLimits, nullptr, answered_ ? &literal_transcript_ : nullptr);
    const LiteralOutcome literal_outcome = literal.runProgram(text);
    if (literal_outcome.kind == LiteralOutcomeKind::Abandoned) return false;
    lisp_worker::fuzz::requireEqual(wordsOf(outcome), wordsOf(literal_outcome), text);
    if (outcome.kind == lisp::OutcomeKind::Value) {
      interpreter.commit(environment_);
      literal_state_ = literal.state();
    }
    waiting_ = outcome.host_call.has_value();
    if (waiting_) {
      call_ = *outcome.host_call;
      literal_call_ = *literal_outcome.host_call;
    }
    return true;
  }

  // Notes the answer to the call that the last run waits for. False when there is none, or the
  // text is no datum.
  bool answer(std::string_view text) {
    std::string error;
    const auto answer = lisp::parseProgram(text, &error);
    const auto literal_answer = lisp_worker::testing_support::literalParseSingle(text, &error);
    if (!waiting_ || !answer || !literal_answer || transcript_.size() == kAnswersMax) return false;
    transcript_.push_back({call_.name, call_.arguments, *answer});
    literal_transcript_.push_back({literal_call_.name, literal_call_.arguments, *literal_answer});
    answered_ = true;
    return true;
  }

  void forgetAnswers() {
    transcript_.clear();
    literal_transcript_.clear();
    answered_ = false;
  }

 private:
  // The first installs the builtins.
  lisp_worker::testing_support::Evaluator evaluator_;
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

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  constexpr std::size_t kNamesMax = 40;
  lisp_worker::fuzz::Input input(data, size);
  Pair pair;
  std::set<std::string> names;
  std::string program;
  std::unique_ptr<lisp_worker::testing_support::Random> random;
  std::unique_ptr<lisp_worker::testing_support::ProgramGenerator> generator;
  while (!input.empty()) {
    const std::string_view text = input.text();
    if (text.starts_with('>')) {
      if (!pair.answer(text.substr(1))) continue;
      if (!pair.run(program)) return 0;
      continue;
    }
    pair.forgetAnswers();
    program = text;
    if (text.starts_with('?')) {
      if (generator == nullptr) {
        std::uint64_t seed = 0;
        for (const char c : text) seed = seed * 257 + static_cast<unsigned char>(c);
        random = std::make_unique<lisp_worker::testing_support::Random>(seed);
        generator = std::make_unique<lisp_worker::testing_support::ProgramGenerator>(*random);
        if (!pair.run(generator->bindings())) return 0;
      }
      program = generator->program();
    }
    collectNames(program, names);
    if (!pair.run(program)) return 0;
  }
  pair.forgetAnswers();
  std::size_t count = 0;
  for (const std::string& name : names) {
    if (++count > kNamesMax) break;
    if (!pair.run(name) || !pair.run("(" + name + " 1)")) return 0;
  }
  return 0;
}
