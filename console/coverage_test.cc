#include "console/coverage.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace lisp_worker::console {
namespace {

using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

struct Text {
  std::string name;
  std::string text;
};

Coverage coverageOf(const std::vector<Text>& texts) {
  explain::Definitions definitions;
  Coverage coverage;
  for (const Text& text : texts) {
    static_cast<void>(explain::evaluate(explain::readProgram(text.name, text.text), definitions, {},
                                        nullptr, {}, &coverage));
  }
  return coverage;
}

TEST(Coverage, CountsLinesAndNamesWhatWasNotReached) {
  EXPECT_EQ(coverageOf({{"p",
                         "; A comment.\n"
                         "(DEFUN F (N\n"
                         "          / M)\n"
                         "  (IF (> N 3)\n"
                         "    (SETQ M\n"
                         "      '(1\n"
                         "        2))\n"
                         "    (SETQ M 4)))\n"
                         "(DEFUN UNUSED ()\n"
                         "  5)\n"
                         "(F 1) (F 2)\n"}})
                .text(),
            "== coverage of p: 5 of 8 lines (62.5%), 1 of 2 branches\n"
            "          |    1 | ; A comment.\n"
            "        1 |    2 | (DEFUN F (N\n"
            "          |    3 |           / M)\n"
            "        2 |    4 |   (IF (> N 3)\n"
            "    ##### |    5 |     (SETQ M\n"
            "    ##### |    6 |       '(1\n"
            "          |    7 |         2))\n"
            "        2 |    8 |     (SETQ M 4)))\n"
            "        1 |    9 | (DEFUN UNUSED ()\n"
            "    ##### |   10 |   5)\n"
            "        1 |   11 | (F 1) (F 2)\n"
            "p:5:5: the THEN of IF was never taken\n");
}

TEST(Coverage, NamesTheBranchesOfEverySpecialForm) {
  struct Row {
    const char* text;
    const char* missed;  // Empty for nothing.
  };
  const Row rows[] = {
      {"(IF T 1 2)", "p:1:9: the ELSE of IF was never taken"},
      {"(IF T 1)", "p:1:1: the way past this IF was never taken"},
      {"(IF '() 1)(IF (= 1 2) 1)", "p:1:1: the way past this IF was never taken"},
      {"(WHILE (= 1 2) 5)", "p:1:16: the body of WHILE was never taken"},
      {"(SETQ N 0)(WHILE (< N 1) (SETQ N (1+ N)))", ""},
      {"(AND 1 (= 1 2) 3)", "p:1:16: this part of AND was never taken"},
      {"(AND 1 2 3)", ""},
      {"(OR (= 1 2) 2 3)", "p:1:15: this part of OR was never taken"},
      {"(IF (= 1 2) (IF 1 2 3))", "p:1:13: the THEN of IF was never taken"},
  };
  for (const Row& row : rows) {
    const std::string text = coverageOf({{"p", row.text}}).text();
    if (*row.missed == '\0') {
      EXPECT_THAT(text, Not(HasSubstr("never"))) << row.text;
    } else {
      EXPECT_THAT(text, HasSubstr(row.missed)) << row.text;
    }
  }
}

TEST(Coverage, StopsCountingWhereAProgramFails) {
  EXPECT_THAT(coverageOf({{"p", "(SETQ X 1)\n(CAR\n  (FOO))\n(SETQ X 2)\n"}}).text(),
              HasSubstr("        1 |    3 |   (FOO))\n    ##### |    4 | (SETQ X 2)\n"));
}

TEST(Coverage, ListsEachFileOnceWithTheCountsOfAllRuns) {
  const Text library = {"lib", "(DEFUN F (X)\n  X)"};
  const std::string text =
      coverageOf({library, {"a", "(F 1)"}, library, {"b", "(F (F 2))"}, {"empty", ""}}).text();
  EXPECT_THAT(text, StartsWith("== coverage of lib: 2 of 2 lines (100.0%)\n"
                               "        2 |    1 | (DEFUN F (X)\n"
                               "        3 |    2 |   X)\n"
                               "== coverage of a: 1 of 1 line (100.0%)\n"));
  EXPECT_THAT(text, HasSubstr("== coverage of empty: 0 of 0 lines (100.0%)\n"));
}

TEST(Coverage, WritesATracefile) {
  EXPECT_EQ(coverageOf({{"dir/p.lsp",
                         "(DEFUN F (X)\n  (IF X\n    1\n    (AND X 2)))\n(DEFUN G ()\n 1)\n(F T)"}})
                .tracefile(),
            "TN:\n"
            "SF:dir/p.lsp\n"
            "FN:1,F\nFN:5,G\nFNDA:1,F\nFNDA:0,G\nFNF:2\nFNH:1\n"
            "BRDA:2,0,0,1\nBRDA:2,0,1,0\nBRF:2\nBRH:1\n"
            "DA:1,1\nDA:2,1\nDA:3,1\nDA:4,0\nDA:5,1\nDA:6,0\nDA:7,1\n"
            "LF:7\nLH:5\n"
            "end_of_record\n");
}

}  // namespace
}  // namespace lisp_worker::console
