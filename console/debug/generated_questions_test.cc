// A thousand programs that do something else than they should: the debugger's answers name the form
// that does it.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <map>
#include <sstream>
#include <string>
#include <utility>

#include "console/debug/debugger.h"
#include "testing/base/random.h"
#include "testing/base/test_environment.h"
#include "testing/generators/puzzling_programs.h"
#include "testing/workers/recorded_run.h"

namespace lisp_worker::console {
namespace {

using testing_support::PuzzlingProgram;

bool isRight(const PuzzlingProgram& program, const std::string& answer) {
  if (program.roles.empty()) return answer.find(program.words) != std::string::npos;
  std::istringstream lines(answer);
  for (std::string line; std::getline(lines, line);) {
    for (const std::string& role : program.roles) {
      if (!line.starts_with("  " + role)) continue;
      const std::size_t place = line.find_first_not_of(' ', 2 + role.size());
      if (place != std::string::npos && line.substr(place).starts_with(program.place + " ")) {
        return true;
      }
    }
  }
  return false;
}

double millisecondsSince(std::clock_t begin) {
  return static_cast<double>(std::clock() - begin) * 1000 / CLOCKS_PER_SEC;
}

TEST(GeneratedQuestions, AreAnsweredByTheRightForm) {
  constexpr int kProgramCount = 1000;
  const double milliseconds_max = testing_support::isSanitized() ? 1000 : 100;
  testing_support::Random random(20261123);
  int right_count = 0;
  double longest = 0;
  std::map<std::string, int> counts;
  std::map<std::string, int> wrong_counts;
  for (int n = 0; n < kProgramCount; ++n) {
    const PuzzlingProgram program = testing_support::makePuzzlingProgram(random);
    ++counts[program.puzzle];
    auto run = testing_support::recordedRun(program.text);
    ASSERT_TRUE(run) << program.text;
    ASSERT_EQ(run->doubt, "") << program.text;
    Debugger debugger(std::move(*run));
    static_cast<void>(debugger.execute(program.moment));
    const std::clock_t begin = std::clock();
    const std::string answer = debugger.execute(program.question);
    longest = std::max(longest, millisecondsSince(begin));
    if (isRight(program, answer)) {
      ++right_count;
    } else if (++wrong_counts[program.puzzle] == 1) {
      std::printf("%s: %s\n%s\nexpected %s%s in\n%s\n", program.puzzle.c_str(),
                  program.question.c_str(), answer.c_str(), program.place.c_str(),
                  program.words.c_str(), program.text.c_str());
    }
  }
  for (const auto& [puzzle, count] : wrong_counts) {
    std::printf("%3d of %3d wrong: %s\n", count, counts[puzzle], puzzle.c_str());
  }
  EXPECT_EQ(counts.size(), 20U);
  EXPECT_EQ(right_count, kProgramCount);
  EXPECT_LE(longest, milliseconds_max);
}

}  // namespace
}  // namespace lisp_worker::console
