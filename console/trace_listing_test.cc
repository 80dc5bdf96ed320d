#include "console/trace_listing.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

namespace lisp_worker::console {
namespace {

using testing::HasSubstr;

std::string traceOf(const std::vector<std::string>& texts,
                    std::vector<explain::AnsweredCall> answers = {}) {
  explain::Definitions definitions;
  TraceListing trace;
  for (std::size_t n = 0; n < texts.size(); ++n) {
    const auto program = explain::readProgram("p" + std::to_string(n + 1), texts[n]);
    static_cast<void>(explain::evaluate(program, definitions, answers, nullptr, {}, &trace));
  }
  return trace.text();
}

explain::AnsweredCall answered(const std::string& name, const std::string& answer,
                               const std::string& refusal = "") {
  return {.name = name,
          .answer = explain::readProgram("answer", answer)->reading.forms.front().value,
          .refusal = refusal};
}

TEST(TraceListing, ShowsCallsWithArgumentsValuesDepthAndPlace) {
  EXPECT_EQ(traceOf({"(DEFUN FACT (N)\n  (IF (= N 0) 1 (* N (FACT (- N 1)))))\n(LIST (FACT 2))"}),
            "== trace of p1: 3 calls\n"
            "p1:3:7                  1  (FACT 2) = 2\n"
            "p1:2:22                 2    (FACT 1) = 1\n"
            "p1:2:22                 3      (FACT 0) = 1\n");
}

TEST(TraceListing, ShowsCallsInArgumentsBeforeTheCallThatTheyAreFor) {
  EXPECT_EQ(traceOf({"(DEFUN ADD (A B) (+ A B))(ADD (ADD 1 2) '(3 \"x\"))"}),
            "== trace of p1: 2 calls\n"
            "p1:1:31                 1  (ADD 1 2) = 3\n"
            "p1:1:26                 1  (ADD 3 (3 \"x\")): did not return\n");
}

TEST(TraceListing, ShowsHostCallsAndTheirAnswers) {
  EXPECT_EQ(traceOf({"(SETQ P (GETPOINT \"From: \"))\n(COMMAND \"CIRCEL\" P)\n(GETDIST)"},
                    {answered("GETPOINT", "(1 2 0)"), answered("COMMAND", "nil", "no such thing")}),
            "== trace of p1: 3 calls\n"
            "p1:1:9                  1  (GETPOINT \"From: \") = (1 2 0)\n"
            "p1:2:1                  1  (COMMAND \"CIRCEL\" (1 2 0)) = nil, refused\n"
            "p1:3:1                  1  (GETDIST): did not return\n");
}

TEST(TraceListing, KnowsFunctionsOfEarlierPrograms) {
  EXPECT_EQ(traceOf({"(DEFUN F (X) (G X)) (DEFUN G (X) X)", "(F 1)"}),
            "== trace of p2: 2 calls\n"
            "p2:1:1                  1  (F 1) = 1\n"
            "p1:1:14                 2    (G 1) = 1\n");
}

TEST(TraceListing, LeavesOutTheMiddleOfManyCalls) {
  const auto count_of = [](const std::string& text) {
    return static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n')) - 1;
  };
  const auto loop = [](std::size_t count) {
    return "(DEFUN F (X) X) (SETQ N 0) (WHILE (< N " + std::to_string(count) +
           ") (F N) (SETQ N (1+ N)))";
  };
  const std::size_t most = TraceListing::kFirstCallsMax + TraceListing::kLastCallsMax;
  EXPECT_EQ(count_of(traceOf({loop(most - 1)})), most - 1);
  EXPECT_EQ(count_of(traceOf({loop(most)})), most);
  const std::string text = traceOf({loop(most + 7)});
  EXPECT_EQ(count_of(text), most + 1);
  EXPECT_THAT(text, HasSubstr("(F 399) = 399\n... 7 calls left out\n"));
  EXPECT_THAT(text, HasSubstr(" (F 407) = 407\n"));
  EXPECT_THAT(text, HasSubstr(" (F 506) = 506\n"));
}

TEST(TraceListing, ShortensLongArguments) {
  const std::string text =
      traceOf({"(DEFUN F (A B C D E G) 1) (SETQ L '(" + std::string(1000, '1') + " \"" +
               std::string(1000, 'x') + "\"))(F L L L L L L)"});
  EXPECT_LT(text.size(), 400u);
}

}  // namespace
}  // namespace lisp_worker::console
