// Resumed runs and their transcripts.
//
// The input is texts between zero bytes: a program and the answers to its host calls, used in turn.
// Laws: workers that keep more or less of stopped evaluations give the same bytes; the finished run
// replayed from its recorded answers ends as it did; one answer too many is found unused, one too
// few is asked for again; and two answers that have changed places are reported at the first call
// that does not get its own.

#include <string>
#include <vector>

#include "fuzz/law.h"
#include "host/run.h"
#include "lisp/interpreter.h"
#include "lisp/reader.h"
#include "testing/wire/frame_makers.h"
#include "testing/workers/evaluator.h"
#include "testing/workers/keepings.h"
#include "testing/workers/real_worker.h"
#include "worker/encoding.h"

namespace {

using lisp::EvalOutcome;
using lisp::HostTranscript;
using lisp::HostTranscriptEntry;
using lisp::OutcomeKind;

constexpr std::size_t kCallsMax = 12;
constexpr lisp::EvalLimits kLimits{3000, 128};

EvalOutcome replay(const std::string& text, const HostTranscript* transcript) {
  const lisp::Environment environment;
  host::StoredProgram program{text, {}};
  lisp::Interpreter interpreter(environment, nullptr, transcript);
  return host::run_program(interpreter, program, kLimits);
}

std::string wordsOf(const EvalOutcome& outcome) {
  std::string payload;
  static_cast<void>(lisp_worker::worker::encodeEvalResponse(outcome, 0, payload));
  return payload + outcome.message;
}

// True when a replay tells the calls apart. Calls that hold a NaN are not even equal to themselves.
bool matches(const HostTranscriptEntry& a, const HostTranscriptEntry& b) {
  if (a.name != b.name || a.arguments.size() != b.arguments.size()) return false;
  for (std::size_t i = 0; i < a.arguments.size(); ++i) {
    if (!lisp::valuesEqual(a.arguments[i], b.arguments[i])) return false;
  }
  return true;
}

std::string divergenceAt(std::size_t index, const std::string& name) {
  return "LISP host replay divergence at call " + std::to_string(index + 1) + ": " + name;
}

void holdWithWorkers(const std::string& program, const std::vector<std::string>& answers) {
  lisp_worker::testing_support::RealWorker first({.count_max = 0});
  std::vector<lisp_worker::testing_support::FrameResponse> responses;
  std::uint64_t run_id = 0;
  std::size_t next = 0;
  const auto frame_at = [&] {
    return responses.empty() ? lisp_worker::testing_support::startFrame(program)
                             : lisp_worker::testing_support::resumeFrame(run_id, answers[next++]);
  };
  do {
    responses.push_back(first.handle(frame_at()));
    run_id = lisp_worker::testing_support::decodeEvalResult(responses.back().payload).run_id;
  } while (run_id != 0 && next < answers.size() && responses.size() < kCallsMax);
  for (const lisp_worker::testing_support::Keeping& keeping :
       lisp_worker::testing_support::keepings()) {
    lisp_worker::testing_support::RealWorker second(keeping.limits);
    next = 0;
    for (std::size_t i = 0; i < responses.size(); ++i) {
      const auto frame = i == 0 ? lisp_worker::testing_support::startFrame(program)
                                : lisp_worker::testing_support::resumeFrame(1, answers[next++]);
      const auto response = second.handle(frame);
      lisp_worker::fuzz::require(response.status == responses[i].status,
                                 "all workers give the same status");
      lisp_worker::fuzz::requireEqual(response.payload, responses[i].payload,
                                      "all workers give the same bytes");
    }
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  lisp_worker::fuzz::Input input(data, size);
  const std::string program(input.text());
  std::vector<std::string> answers;
  while (!input.empty() && answers.size() < kCallsMax) answers.emplace_back(input.text());
  static const lisp_worker::testing_support::Evaluator installs_the_builtins;

  HostTranscript transcript;
  EvalOutcome outcome = replay(program, nullptr);
  for (const std::string& text : answers) {
    std::string error;
    const auto answer = lisp::parseProgram(text, &error);
    if (!outcome.host_call || !answer) break;
    transcript.push_back({outcome.host_call->name, outcome.host_call->arguments, *answer});
    if (!matches(transcript.back(), transcript.back())) {
      const EvalOutcome again = replay(program, &transcript);
      lisp_worker::fuzz::requireEqual(again.message,
                                      divergenceAt(transcript.size() - 1, transcript.back().name),
                                      "a NaN among the arguments diverges");
      return 0;
    }
    outcome = replay(program, &transcript);
  }
  lisp_worker::fuzz::requireEqual(
      wordsOf(replay(program, transcript.empty() ? nullptr : &transcript)), wordsOf(outcome),
      "a replay from the recorded answers ends the same");
  // A worker would go on for eighty times as many steps.
  if (outcome.kind != OutcomeKind::StepLimit) holdWithWorkers(program, answers);
  if (transcript.empty()) return 0;

  if (outcome.kind == OutcomeKind::Value) {
    HostTranscript longer = transcript;
    longer.push_back(transcript.back());
    lisp_worker::fuzz::requireEqual(replay(program, &longer).message,
                                    "LISP host replay transcript has unused answers",
                                    "an answer too many is found");
  }
  HostTranscript shorter = transcript;
  shorter.pop_back();
  const EvalOutcome asked = replay(program, &shorter);
  lisp_worker::fuzz::require(asked.host_call.has_value(), "an answer too few is asked for");
  lisp_worker::fuzz::requireEqual(asked.host_call->name, transcript.back().name,
                                  "it is the same call");
  for (std::size_t i = 0; i < transcript.size(); ++i) {
    for (std::size_t j = i + 1; j < transcript.size(); ++j) {
      if (matches(transcript[i], transcript[j])) continue;
      HostTranscript changed = transcript;
      std::swap(changed[i], changed[j]);
      lisp_worker::fuzz::requireEqual(
          replay(program, &changed).message, divergenceAt(i, transcript[i].name),
          "answers in each other's place are reported at the first of them");
    }
  }
  return 0;
}
