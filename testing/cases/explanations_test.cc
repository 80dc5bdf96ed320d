// The position-aware evaluation against the worker's, and its positions against known faults.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <string>

#include "console/explainer.h"
#include "explain/evaluation.h"
#include "explain/explanation.h"
#include "lisp/printer.h"
#include "lisp_worker/client/worker_client.h"
#include "testing/base/random.h"
#include "testing/base/test_environment.h"
#include "testing/base/value_text.h"
#include "testing/generators/faulty_programs.h"
#include "testing/generators/program_generator.h"
#include "testing/workers/evaluator.h"
#include "testing/workers/in_process_worker.h"

namespace lisp_worker::testing_support {
namespace {

// The number of random programs to try, out of `count`: fewer in builds where each takes long.
int reduced(int count) {
  const char* const text = std::getenv("LISP_DIFFERENTIAL_COUNT");
  return text == nullptr ? count : std::min(count, std::atoi(text) * 5);
}

// Programs as the console runs and follows them, in a worker inside this process. All of them fail,
// so none leaves anything to the next.
class FaultyRuns : public testing::Test {
 protected:
  // Carries the program to its end. Returns the explanation.
  std::string run(const FaultyProgram& faulty) {
    context = faultyContext();
    if (faulty.has_context) registerContext();
    explainer.start("p", faulty.text, faulty.has_context ? &context : nullptr);
    auto reply = client.evalStart(faulty.text, faulty.has_context ? context.id : 0);
    for (std::size_t n = 1;
         reply && reply->status == lisp_worker::worker::WorkerStatus::HostCallPending; ++n) {
      if (n == faulty.change_at_call) {
        context = movedContext();
        explainer.replaceContext(context);
        registerContext();
      }
      const std::string answer =
          n == faulty.bad_answer_at_call ? "(10 20 0" : answerForFaulty(*reply->value);
      explainer.answer(reply->value->call_name, answer, "");
      reply = client.evalResume(reply->value->run_id, answer);
    }
    if (!reply || !reply->value) {
      ADD_FAILURE() << faulty.text;
      return "";
    }
    EXPECT_NE(reply->value->eval_status, client::EvalStatus::Value) << faulty.text;
    return explainer.finish(*reply);
  }

  void registerContext() {
    EXPECT_EQ(client.registerContext(context), lisp_worker::worker::WorkerStatus::Ok);
  }

  [[nodiscard]] bool isRight(const FaultyProgram& faulty, const std::string& told) const {
    const explain::Outcome& outcome = explainer.outcome();
    const explain::FaultyForm& fault = outcome.fault;
    if (faulty.bad_answer_at_call != 0) {
      const auto program = explain::readProgram("p", faulty.text);
      return told.find("asked at  " + explain::nameOfPlace(*program, faulty.places[0]) + "\n") !=
             std::string::npos;
    }
    const auto is_place = [&](std::size_t at) {
      return std::find(faulty.places.begin(), faulty.places.end(), at) != faulty.places.end();
    };
    if (!is_place(fault.begin)) return false;
    if (faulty.call_place && fault.calls.front().begin != *faulty.call_place) return false;
    if (outcome.kind != explain::OutcomeKind::StepLimit) return true;
    // The place of most steps: a line of the loop.
    const explain::StepCount& most = outcome.step_counts.front();
    const explain::Source& source = most.program->source;
    return most.line >= source.lineOf(faulty.places.front()) &&
           most.line <= source.lineOf(faulty.places.back());
  }

  InProcessWorker process;
  client::WorkerClient client{process};
  console::Explainer explainer;
  client::CoordContext context;
};

TEST_F(FaultyRuns, AreExplainedAtTheRightPlaceInTenThousandPrograms) {
  Random random(20261121);
  const int program_count = reduced(10000);
  int right_count = 0;
  std::map<std::string, int> wrong_counts;  // By fault.
  for (int n = 0; n < program_count; ++n) {
    const FaultyProgram faulty = makeFaultyProgram(random);
    const std::string told = run(faulty);
    ASSERT_EQ(told.find("no explanation"), std::string::npos) << told << faulty.text;
    const bool is_right = isRight(faulty, told);
    right_count += is_right ? 1 : 0;
    if (!is_right && ++wrong_counts[faulty.fault] == 1) {
      std::printf("wrong place for %s:\n%s\n%s", faulty.fault.c_str(), told.c_str(),
                  faulty.text.c_str());
    }
  }
  for (const auto& [fault, count] : wrong_counts) std::printf("%5d  %s\n", count, fault.c_str());
  std::printf("%d of %d places are right\n", right_count, program_count);
  EXPECT_EQ(right_count, program_count);
}

// For all programs: the same kind, message, steps and value, and the same left for the next.
TEST(Explanations, ComeToWhatTheWorkerComesTo) {
  const auto conversation_count = static_cast<int>(setting("LISP_DIFFERENTIAL_COUNT", 1500) / 3);
  for (int seed = 0; seed < conversation_count; ++seed) {
    Random random(static_cast<std::uint64_t>(seed));
    ProgramGenerator generator(random);
    Evaluator worker;
    explain::Definitions definitions;
    for (int n = 0; n < 4; ++n) {
      const std::string text = n == 0 ? generator.bindings() : generator.program();
      const lisp::EvalOutcome expected = worker.run(text);
      const explain::Outcome outcome =
          explain::evaluate(explain::readProgram("p", text), definitions, {}, nullptr);
      ASSERT_EQ(static_cast<int>(outcome.kind), static_cast<int>(expected.kind)) << text;
      ASSERT_EQ(outcome.message, expected.message) << text;
      ASSERT_EQ(outcome.steps, expected.steps) << text;
      std::string value_text;
      std::string expected_text;
      const bool is_whole = lisp::appendValue(outcome.value, 100000, value_text);
      ASSERT_EQ(is_whole, lisp::appendValue(expected.value, 100000, expected_text)) << text;
      ASSERT_EQ(value_text, expected_text) << text;
    }
  }
}

}  // namespace
}  // namespace lisp_worker::testing_support
