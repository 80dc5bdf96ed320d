// The position-aware evaluation against the worker's, and its positions against known faults.

#include <gtest/gtest.h>

#include <cstdlib>
#include <map>
#include <string>

#include "explain/evaluation.h"
#include "explain/explanation.h"
#include "testing/evaluator.h"
#include "testing/faulty_programs.h"
#include "testing/program_generator.h"
#include "testing/random.h"
#include "testing/value_text.h"
#include "worker/encoding.h"

namespace testing_support {
namespace {

constexpr int kFaultyProgramCount = 10000;

TEST(Explanations, ShowTheRightPlaceInTenThousandFaultyPrograms) {
  Random random(20261121);
  int right_count = 0;
  std::map<std::string, int> wrong_counts;  // By fault.
  for (int n = 0; n < kFaultyProgramCount; ++n) {
    const FaultyProgram faulty = makeFaultyProgram(random);
    const lisp::EvalOutcome expected = evaluate(faulty.text);
    ASSERT_NE(expected.kind, lisp::OutcomeKind::Value) << faulty.fault << "\n" << faulty.text;
    explain::Definitions definitions;
    const explain::Outcome outcome =
        explain::evaluate(explain::readProgram("p", faulty.text), definitions, {}, nullptr);
    ASSERT_EQ(outcome.message, expected.message) << faulty.text;
    ASSERT_EQ(outcome.steps, expected.steps) << faulty.text;
    const bool is_right = outcome.fault.begin >= faulty.begin && outcome.fault.begin < faulty.end;
    right_count += is_right ? 1 : 0;
    if (!is_right && ++wrong_counts[faulty.fault] == 1) {
      std::printf("wrong place for %s:\n%s\n%s", faulty.fault.c_str(),
                  explain::explanationOf(outcome).c_str(), faulty.text.c_str());
    }
  }
  std::printf("%d of %d places are right\n", right_count, kFaultyProgramCount);
  EXPECT_GE(right_count * 100, kFaultyProgramCount * 99);
}

// Whatever programs do: the same kind, message, steps and value, and the same left for the next.
TEST(Explanations, ComeToWhatTheWorkerComesTo) {
  const char* const count_text = std::getenv("LISP_DIFFERENTIAL_COUNT");
  const int conversation_count = count_text == nullptr ? 1500 : std::atoi(count_text) / 3;
  int given_up_count = 0;
  int compared_count = 0;
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
      if (outcome.kind == explain::OutcomeKind::GivenUp) {
        ++given_up_count;
        break;  // What it would have left behind is not known.
      }
      ++compared_count;
      ASSERT_EQ(static_cast<int>(outcome.kind), static_cast<int>(expected.kind)) << text;
      ASSERT_EQ(outcome.message, expected.message) << text;
      ASSERT_EQ(outcome.steps, expected.steps) << text;
      std::string value_text;
      std::string expected_text;
      const bool is_whole = worker::appendValue(outcome.value, 100000, value_text);
      ASSERT_EQ(is_whole, worker::appendValue(expected.value, 100000, expected_text)) << text;
      ASSERT_EQ(value_text, expected_text) << text;
    }
  }
  EXPECT_LT(given_up_count * 100, compared_count + 1);
}

}  // namespace
}  // namespace testing_support
