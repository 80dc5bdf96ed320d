// Each turn is chosen by what the literal implementation has answered so far, so most resumes are
// of runs that wait.

#include "testing/generators/conversation.h"

#include <utility>

#include "testing/base/random.h"
#include "testing/generators/program_generator.h"
#include "testing/generators/text_generator.h"
#include "testing/reference/literal_worker.h"
#include "testing/wire/frame_makers.h"

namespace lisp_worker::testing_support {
namespace {

using worker::MessageType;

constexpr std::uint64_t kContextId = 7;
constexpr std::uint64_t kUnknownContextId = 8;
constexpr int kTurnCountMax = 16;

// A run that the worker keeps, and the call that it waits for.
struct OpenRun {
  std::size_t opened_by = 0;
  std::uint64_t run_id = 0;
  std::string call_name;
};

// Fills in the run id of a turn from the answers so far.
Frame resolve(const Turn& turn, const std::vector<Exchange>& exchanges) {
  Frame frame = turn.frame;
  if (turn.opened_by.has_value()) {
    frame.run_id = decodeEvalResult(exchanges[*turn.opened_by].expected.payload).run_id;
  }
  return frame;
}

std::string generateContextRecord(Random& random) {
  static constexpr double kFactors[] = {0, 1, -1, 2, 0.5, 0.1, -3, 1e-19, 1e-18, 1.1e-18, 1e9};
  static constexpr double kOffsets[] = {0, 0, 1, -2.5, 1000, 1e300};
  std::string record = identityContextRecord(kContextId);
  for (std::size_t i = 0; i < worker::kSystemCount; ++i) {
    if (random.chance(1, 2)) continue;
    PlanarSystem system = kIdentitySystem;
    system[0] = random.pick(kOffsets);
    system[1] = random.pick(kOffsets);
    for (std::size_t k = 2; k <= 5; ++k) {
      if (random.chance(1, 3)) system[k] = random.pick(kFactors);
    }
    if (random.chance(1, 3)) system[6] = random.pick(kFactors);
    system[7] = random.pick(kOffsets);
    setSystem(record, i, system);
  }
  return record;
}

class Generator {
 public:
  explicit Generator(std::uint64_t seed) : random_(seed), programs_(random_) {}

  Conversation run() {
    if (random_.chance(15, 16))
      play({registerFrame(kContextId, generateContextRecord(random_)), {}});
    if (random_.chance(9, 10)) play({startFrame(programs_.bindings()), {}});
    for (int i = random_.between(4, kTurnCountMax); i > 0 && !literal_.abandoned(); --i) {
      play(next());
    }
    for (const std::string& name : ProgramGenerator::variableNames()) {
      play({startFrame(name), {}});
    }
    for (const std::string& name : ProgramGenerator::functionNames()) {
      play({startFrame("(" + name + ")"), {}});
    }
    return std::move(conversation_);
  }

 private:
  Turn next() {
    if (!open_runs_.empty() && random_.chance(3, 5)) {
      const OpenRun& run = random_.chance(2, 3) ? open_runs_.back() : random_.pick(open_runs_);
      const std::string& program = conversation_.turns[run.opened_by].frame.payload;
      // Other systems under the same id, so that the replay may differ from the run.
      if (program.find("TRANS") != std::string::npos && random_.chance(1, 3)) {
        return {registerFrame(kContextId, generateContextRecord(random_)), {}};
      }
      if (random_.chance(1, 25)) return {cancelFrame(0), run.opened_by};
      return {resumeFrame(0, generateAnswer(random_, run.call_name)), run.opened_by};
    }
    switch (random_.below(24)) {
      case 0:
        return {resumeFrame(random_.below(6), "1"), {}};
      case 1:
        return {cancelFrame(random_.below(6)), {}};
      case 2:
      case 3:
        return {registerFrame(kContextId, generateContextRecord(random_)), {}};
      case 4:
        return {startFrame("(SETQ A 1)", kUnknownContextId), {}};
      default:
        break;
    }
    const std::string program = programs_.program();
    const bool uses_context = program.find("TRANS") != std::string::npos;
    return {startFrame(program, random_.chance(uses_context ? 19 : 12, 20) ? kContextId : 0), {}};
  }

  void play(const Turn& turn) {
    if (literal_.abandoned()) return;
    const Frame frame = resolve(turn, conversation_.exchanges);
    const FrameResponse expected = literal_.handle(frame);
    if (literal_.abandoned()) return;
    conversation_.turns.push_back(turn);
    conversation_.exchanges.push_back({frame, expected});

    const EvalResult result = decodeEvalResult(expected.payload);
    const std::size_t opened_by = turn.opened_by.value_or(conversation_.turns.size() - 1);
    std::erase_if(open_runs_, [&](const OpenRun& run) { return run.run_id == frame.run_id; });
    if (result.run_id != 0) open_runs_.push_back({opened_by, result.run_id, result.call_name});
  }

  Random random_;
  ProgramGenerator programs_;
  LiteralWorker literal_;
  Conversation conversation_;
  std::vector<OpenRun> open_runs_;
};

}  // namespace

Conversation generateConversation(std::uint64_t seed) { return Generator(seed).run(); }

std::vector<Exchange> answerLiterally(const std::vector<Turn>& turns) {
  LiteralWorker literal;
  std::vector<Exchange> exchanges;
  for (const Turn& turn : turns) {
    const Frame frame = resolve(turn, exchanges);
    const FrameResponse expected = literal.handle(frame);
    if (literal.abandoned()) break;
    exchanges.push_back({frame, expected});
  }
  return exchanges;
}

std::optional<std::size_t> firstDisagreement(const std::vector<Exchange>& exchanges,
                                             FramePort& port) {
  for (std::size_t i = 0; i < exchanges.size(); ++i) {
    const FrameResponse actual = port.handle(exchanges[i].frame);
    const FrameResponse& expected = exchanges[i].expected;
    if (actual.status != expected.status || actual.payload != expected.payload) return i;
  }
  return std::nullopt;
}

std::string describe(const std::vector<Exchange>& exchanges, std::size_t last) {
  std::string text;
  for (std::size_t i = 0; i <= last && i < exchanges.size(); ++i) {
    const Frame& frame = exchanges[i].frame;
    switch (frame.type) {
      case MessageType::EvalStart:
        text += "start in context " + std::to_string(frame.context_id) + ": " + frame.payload;
        break;
      case MessageType::EvalResume:
        text += "resume run " + std::to_string(frame.run_id) + " with: " + frame.payload;
        break;
      case MessageType::EvalCancel:
        text += "cancel run " + std::to_string(frame.run_id);
        break;
      default:
        text += "register context " + std::to_string(frame.context_id);
        break;
    }
    text += "\n  => " + describe(exchanges[i].expected) + "\n";
  }
  return text;
}

}  // namespace lisp_worker::testing_support
