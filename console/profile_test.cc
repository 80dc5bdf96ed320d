#include "console/profile.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <regex>
#include <sstream>
#include <string>
#include <vector>

namespace lisp_worker::console {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

struct Profiled {
  std::uint64_t steps = 0;  // As the evaluator counts them.
  std::string text;
};

Profiled profileOf(const std::vector<std::string>& texts) {
  explain::Definitions definitions;
  Profile profile;
  Profiled run;
  for (std::size_t n = 0; n < texts.size(); ++n) {
    const auto program = explain::readProgram("p" + std::to_string(n + 1), texts[n]);
    run.steps += explain::evaluate(program, definitions, {}, nullptr, {}, &profile).steps;
  }
  run.text = profile.text();
  return run;
}

// Of each row: count, own and total steps, and the name or line, without the times.
std::vector<std::string> rowsOf(const std::string& text) {
  static const std::regex kRow(
      R"( *(\d+) +(\d+) +[0-9.]+% +(\d+) +[0-9.]+% +[0-9.]+ +[0-9.]+  (.*))");
  std::vector<std::string> rows;
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) {
    std::smatch row;
    if (!std::regex_match(line, row, kRow)) continue;
    rows.push_back(row[1].str() + " " + row[2].str() + " " + row[3].str() + " " + row[4].str());
  }
  return rows;
}

TEST(Profile, CountsCallsAndStepsOfFunctionsAndLines) {
  const Profiled run =
      profileOf({"(DEFUN G (X) (* X 2))\n"
                 "(DEFUN F (X)\n"
                 "  (G X)\n"
                 "  (+ (G 1) X))\n"
                 "(F 5)\n"});
  EXPECT_THAT(rowsOf(run.text),
              ElementsAre("2 6 6 G  p1:1", "1 6 12 F  p1:2", "1 4 16 (top level)  p1:1",
                          "2 7 7 1  (DEFUN G (X) (* X 2))", "1 1 1 2  (DEFUN F (X)",
                          "1 2 5 3    (G X)", "1 4 7 4    (+ (G 1) X))", "1 2 14 5  (F 5)"));
  EXPECT_EQ(run.steps, 16u);
  EXPECT_THAT(run.text, HasSubstr("== profile: 16 steps, "));
}

TEST(Profile, CountsTheOutermostOfCallsInsideEachOther) {
  const Profiled run = profileOf({"(DEFUN DOWN (N) (IF (= N 0) 0 (DOWN (- N 1))))\n(DOWN 50)"});
  const std::vector<std::string> rows = rowsOf(run.text);
  ASSERT_EQ(rows.size(), 4u);
  const std::string own = std::to_string(run.steps - 3);  // Without DEFUN, the call and 50.
  EXPECT_EQ(rows[0], "51 " + own + " " + own + " DOWN  p1:1");
  EXPECT_EQ(rows[3], "1 2 " + std::to_string(run.steps - 1) + " 2  (DOWN 50)");
}

TEST(Profile, CountsAProgramThatFails) {
  const Profiled run = profileOf({"(DEFUN F (X)\n  (CAR (FOO)))\n(F 1)"});
  EXPECT_THAT(rowsOf(run.text),
              ElementsAre("1 3 5 (top level)  p1:1", "1 2 2 F  p1:1", "1 1 1 1  (DEFUN F (X)",
                          "1 2 2 2    (CAR (FOO)))", "1 2 4 3  (F 1)"));
}

TEST(Profile, ListsEachFileByItself) {
  const Profiled run = profileOf({"(DEFUN F (X)\n  X)", "(F 1)"});
  EXPECT_THAT(run.text, HasSubstr("== lines of p1\n"));
  EXPECT_THAT(run.text, HasSubstr("== lines of p2\n"));
  EXPECT_THAT(run.text, HasSubstr(" F  p1:1\n"));
}

// The own times of all functions are the whole time: nothing is charged twice or forgotten.
TEST(Profile, MeasuresTheTimeOfFunctions) {
  const Profiled run =
      profileOf({"(DEFUN F (N) (* N 2))\n(SETQ N 0)\n"
                 "(WHILE (< N 2000) (F N) (SETQ N (1+ N)))\n"});
  static const std::regex kWhole("== profile: \\d+ steps, ([0-9.]+) ms");
  static const std::regex kOwn("% +([0-9.]+) +[0-9.]+  (F|.top level.)  p1");
  std::smatch whole;
  ASSERT_TRUE(std::regex_search(run.text, whole, kWhole));
  double sum = 0;
  int count = 0;
  for (std::sregex_iterator own(run.text.begin(), run.text.end(), kOwn), end; own != end; ++own) {
    EXPECT_GT(std::stod((*own)[1]), 0.0);
    sum += std::stod((*own)[1]);
    ++count;
  }
  EXPECT_EQ(count, 2);
  EXPECT_NEAR(sum, std::stod(whole[1]), 0.002);  // Three digits are shown.
}

TEST(Profile, ListsOnlyTheMostCostly) {
  std::string text;
  for (int n = 0; n < 300; ++n) {
    const std::string name = "F" + std::to_string(n);
    text += "(DEFUN " + name + " () 1)\n(" + name + ")\n";
  }
  const std::string shown = profileOf({text}).text;
  EXPECT_THAT(shown, HasSubstr("... and 261 cheaper functions\n"));
  EXPECT_THAT(shown, HasSubstr("... and 400 cheaper lines\n"));
}

}  // namespace
}  // namespace lisp_worker::console
