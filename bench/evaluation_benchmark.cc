// The worker from inside: evaluation, reading, encoding, requests and resumes without a pipe.
//
// Evaluation is measured on programs that have been read already and counted in time per step,
// because that is what the step limit is made of. Whole requests are measured through the same
// entry as frames take, with everything a request costs but the pipe.

#include <benchmark/benchmark.h>

#include <cstdint>
#include <string>
#include <string_view>

#include "bench/programs.h"
#include "geometry/context_table.h"
#include "host/run.h"
#include "lisp/environment.h"
#include "lisp/interpreter.h"
#include "lisp/printer.h"
#include "lisp/reader.h"
#include "lisp_worker/worker/frame.h"
#include "worker/evaluation_requests.h"

namespace {

using lisp_worker::worker::WorkerStatus;

void require(bool holds, benchmark::State& state, const char* message) {
  if (!holds) state.SkipWithError(message);
}

void runProgram(benchmark::State& state, const lisp_worker::bench::BenchProgram& program) {
  const geometry::ContextTable contexts;
  const lisp_worker::worker::EvaluationRequests evaluation(contexts);  // Makes the builtins known.
  const lisp::Environment environment;
  host::StoredProgram read{program.text, {}};
  std::uint64_t steps = 0;
  for (auto _ : state) {
    lisp::Interpreter interpreter(environment, nullptr, nullptr);
    const lisp::EvalOutcome outcome = host::run_program(interpreter, read, {});
    require(outcome.kind == lisp::OutcomeKind::Value, state, "the program fails");
    steps = outcome.steps;
  }
  state.counters["time/step"] =
      benchmark::Counter(static_cast<double>(steps), benchmark::Counter::kIsIterationInvariantRate |
                                                         benchmark::Counter::kInvert);
}

// A conversation of evaluation requests.
class Conversation {
 public:
  Conversation() : evaluation_(contexts_) {}

  WorkerStatus start(std::string_view program) {
    response_.clear();
    return evaluation_.handleEvalStart({}, program, response_);
  }

  WorkerStatus resume(std::uint64_t run_id, std::string_view answer) {
    response_.clear();
    lisp_worker::worker::MessageHeader request;
    request.run_id = run_id;
    return evaluation_.handleEvalResume(request, answer, response_);
  }

  [[nodiscard]] std::uint64_t runId() const {
    return lisp_worker::worker::getU64(response_.data() +
                                       lisp_worker::worker::EvalResultOffset::kRunId);
  }

 private:
  geometry::ContextTable contexts_;
  lisp_worker::worker::EvaluationRequests evaluation_;
  std::string response_;
};

void tinyRequest(benchmark::State& state) {
  Conversation conversation;
  for (auto _ : state) {
    require(conversation.start("(+ 1 2)") == WorkerStatus::Ok, state, "the program fails");
  }
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(tinyRequest);

// One more resume of a program that has had `range` answers: the loop is replayed, so the replay's
// evaluation grows with the answers, and what a resume costs beyond it must not.
void resume(benchmark::State& state) {
  const auto answered = state.range();
  const std::string program = "(SETQ I 0 S 0) (WHILE (< I " + std::to_string(answered + 1) +
                              ") (SETQ S (+ S (GETDIST I)) I (1+ I))) S";
  Conversation conversation;
  for (auto _ : state) {
    state.PauseTiming();
    require(conversation.start(program) == WorkerStatus::HostCallPending, state, "no host call");
    const std::uint64_t run_id = conversation.runId();
    for (std::int64_t i = 0; i < answered; ++i) {
      require(conversation.resume(run_id, "1") == WorkerStatus::HostCallPending, state,
              "no host call");
    }
    state.ResumeTiming();
    require(conversation.resume(run_id, "1") == WorkerStatus::Ok, state, "the last resume fails");
  }
  state.counters["time/answer"] = benchmark::Counter(
      static_cast<double>(answered + 1),
      benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}
BENCHMARK(resume)->Arg(1)->Arg(100)->Arg(1000);

std::string repeated(std::string_view text, std::size_t size) {
  std::string repeated;
  while (repeated.size() < size) repeated.append(text);
  return repeated;
}

constexpr std::size_t kTextSize = 500'000;  // Bytes.

const char* const kEntityList = "((0 \"CIRCLE\") (8 \"WALLS\") (10 (12.5 -3.75 0)) (40 2.25)) ";

void readText(benchmark::State& state, const char* unit) {
  const std::string text = repeated(unit, kTextSize);
  std::string error;
  for (auto _ : state) benchmark::DoNotOptimize(lisp::readForms(text, &error));
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(text.size()));
}
BENCHMARK_CAPTURE(readText, entities, kEntityList);
BENCHMARK_CAPTURE(readText, numbers, "0.10000000000000001 -273.14999999999998 6.02e23 ");
BENCHMARK_CAPTURE(readText, program, "(SETQ TOTAL (+ TOTAL (CAR POINT)) I (1+ I)) ; add\n");

void encodeText(benchmark::State& state, const char* unit) {
  const std::string text = "(" + repeated(unit, kTextSize) + ")";
  const lisp::LispValue value = lisp::parseProgram(text, nullptr).value_or(lisp::nil());
  std::size_t encoded_size = 0;
  for (auto _ : state) encoded_size = lisp::encodeValue(value).size();
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(encoded_size));
}
BENCHMARK_CAPTURE(encodeText, entities, kEntityList);
BENCHMARK_CAPTURE(encodeText, numbers, "0.10000000000000001 -273.14999999999998 6.02e23 ");

const bool kRegistered = [] {
  for (const lisp_worker::bench::BenchProgram& program : lisp_worker::bench::kPrograms) {
    benchmark::RegisterBenchmark((std::string("run/") + program.name).c_str(), runProgram, program);
  }
  return true;
}();

}  // namespace
