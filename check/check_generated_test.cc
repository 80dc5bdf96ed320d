// Programs in which nothing is wrong, from a generator: that they are right is tried by evaluating
// each of them.

#include <gtest/gtest.h>

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "check/check.h"
#include "explain/evaluation.h"
#include "testing/base/random.h"
#include "testing/generators/right_programs.h"

namespace check {
namespace {

using explain::AnsweredCall;
using explain::OutcomeKind;
using lisp_worker::testing_support::Random;

// Evaluates with answers until the program ends.
explain::Outcome outcomeOf(const ProgramPointer& program, Random& random) {
  constexpr std::string_view kWaits = "CAD host call required: ";
  std::vector<AnsweredCall> answers;
  for (;;) {
    explain::Definitions definitions;
    explain::Outcome outcome = explain::evaluate(program, definitions, answers, nullptr);
    if (outcome.kind != OutcomeKind::HostCallRequired) return outcome;
    const std::string name = outcome.message.substr(kWaits.size());
    const auto answer =
        explain::readProgram("answer", lisp_worker::testing_support::answerForRight(name, random));
    answers.push_back({.name = name, .answer = answer->reading.forms.front().value});
  }
}

TEST(CheckOfRightPrograms, FindsNoErrorsAndHardlyWarns) {
  constexpr std::size_t kProgramCount = 5000;
  Random random(20260815);
  std::size_t warned_count = 0;
  std::string warnings;
  for (std::size_t n = 0; n < kProgramCount; ++n) {
    const ProgramPointer program =
        explain::readProgram("right.lsp", lisp_worker::testing_support::makeRightProgram(random));
    const explain::Outcome outcome = outcomeOf(program, random);
    ASSERT_EQ(outcome.kind, OutcomeKind::Value) << outcome.message << "\n"
                                                << program->source.text();
    const std::vector<Finding> findings = findingsIn(std::span(&program, 1), 0);
    for (const Finding& finding : findings) {
      ASSERT_NE(finding.severity, Severity::Error) << describe(finding) << "\n"
                                                   << program->source.text();
      if (warnings.size() < 2000) warnings += describe(finding);
    }
    if (!findings.empty()) ++warned_count;
  }
  EXPECT_LE(warned_count, kProgramCount / 100) << warnings;
}

}  // namespace
}  // namespace check
