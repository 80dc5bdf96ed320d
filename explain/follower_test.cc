#include "explain/follower.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "explain/value_text.h"

namespace explain {
namespace {

using testing::ElementsAre;

AnsweredCall answered(const std::string& name, const std::string& answer) {
  return {.name = name, .answer = readProgram("answer", answer)->reading.forms.front().value};
}

// The arguments as one text, "none" when the program waits no more.
std::string textOf(const std::optional<std::vector<lisp::LispValue>>& arguments) {
  if (!arguments) return "none";
  std::string text;
  for (const lisp::LispValue& argument : *arguments) {
    text += (text.empty() ? "" : " ") + shorten(argument, 100);
  }
  return text;
}

// The arguments of each call of a program that gets these answers.
std::vector<std::string> argumentsOf(const std::string& text,
                                     const std::vector<AnsweredCall>& answers,
                                     const Definitions& definitions = {}) {
  Follower follower(readProgram("p", text), definitions, nullptr);
  std::vector<std::string> texts;
  for (std::size_t n = 0; n <= answers.size(); ++n) {
    texts.push_back(textOf(follower.argumentsAfter(std::span(answers).first(n))));
  }
  return texts;
}

TEST(Follower, KnowsTheArgumentsOfEachCall) {
  EXPECT_THAT(argumentsOf("(SETQ P (GETPOINT \"a\\\"b\")) (COMMAND \"X\" P) (GETDIST (CAR P))",
                          {answered("GETPOINT", "(1 2)"), answered("COMMAND", "nil"),
                           answered("GETDIST", "5")}),
              ElementsAre("\"a\\\"b\"", "\"X\" (1 2)", "1", "none"));
}

TEST(Follower, BeginsBehindCallsThatWereAnsweredBefore) {
  const std::vector<AnsweredCall> answers = {answered("GETDIST", "1"), answered("GETDIST", "2")};
  Follower follower(readProgram("p", "(GETPOINT (+ (GETDIST 5) (GETDIST 6)))"), Definitions(),
                    nullptr);
  EXPECT_EQ(textOf(follower.argumentsAfter(answers)), "3");
}

TEST(Follower, HasNoneForAProgramThatGoesAnotherWay) {
  EXPECT_THAT(argumentsOf("5", {}), ElementsAre("none"));
  EXPECT_THAT(argumentsOf("(CAR", {}), ElementsAre("none"));
  EXPECT_THAT(argumentsOf("(SETQ X) (GETDIST 2)", {}), ElementsAre("none"));
  EXPECT_THAT(argumentsOf("(GETDIST 1) (GETDIST 2)", {answered("GETPOINT", "1")}),
              ElementsAre("1", "none"));
  EXPECT_THAT(argumentsOf("(GETDIST 1)", {answered("GETDIST", "1"), answered("GETDIST", "1")}),
              ElementsAre("1", "none", "none"));
}

// Other evaluations take place while one waits, and it may be given up anywhere.
TEST(Follower, WaitsWhileOtherProgramsAreEvaluated) {
  Definitions definitions;
  static_cast<void>(evaluate(readProgram("lib", "(DEFUN F (X) (GETDIST X N)) (SETQ N 1)"),
                             definitions, {}, nullptr));
  const std::string text = "(DEFUN G (N) (F N) (F (1+ N)) N) (G 10) (GETPOINT N)";
  Follower a(readProgram("a", text), definitions, nullptr);
  Follower b(readProgram("b", text), definitions, nullptr);
  const std::vector<AnsweredCall> answers(3, answered("GETDIST", "0"));
  const std::span<const AnsweredCall> all(answers);
  EXPECT_EQ(textOf(a.argumentsAfter(all.first(0))), "10 10");
  EXPECT_EQ(textOf(b.argumentsAfter(all.first(1))), "11 10");
  static_cast<void>(
      evaluate(readProgram("c", "(SETQ N 7) (DEFUN F (X) N)"), definitions, {}, nullptr));
  EXPECT_EQ(textOf(a.argumentsAfter(all.first(1))), "11 10");
  EXPECT_EQ(textOf(a.argumentsAfter(all.first(2))), "1");
  EXPECT_EQ(definitions.variableNames(), std::vector<std::string>{"N"});
}

}  // namespace
}  // namespace explain
