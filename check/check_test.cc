#include "check/check.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <ctime>
#include <string>
#include <vector>

#include "explain/form.h"
#include "explain/habits.h"
#include "testing/base/test_environment.h"

namespace check {
namespace {

using explain::Place;
using explain::readProgram;

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

// "line:column kind message" of each finding in the last of the texts.
std::vector<std::string> findingsIn(const std::vector<std::string>& texts) {
  std::vector<ProgramPointer> programs;
  for (const std::string& text : texts) programs.push_back(readProgram("p", text));
  std::vector<std::string> lines;
  for (const Finding& finding : check::findingsIn(programs, programs.size() - 1)) {
    const Place place = finding.program->source.placeOf(finding.begin);
    lines.push_back(std::to_string(place.line) + ":" + std::to_string(place.column) +
                    (finding.severity == Severity::Error ? " error " : " warning ") +
                    finding.message);
  }
  return lines;
}

TEST(Check, FindsNothingWhereNothingIsWrong) {
  for (const char* const text :
       {"",
        "(SETQ A 1) (+ A 2)",
        "(DEFUN F (X / Y) (SETQ Y X) Y) (F 1)",
        "'(UNKNOWN (5 6))",
        "(DEFUN F (X) (G)) (DEFUN G () X) (F 1)",
        "(CAR '())",
        "(IF T 1)",
        "()",
        "(LENGTH '())",
        "(DEFUN G () (F 1)) (DEFUN F (X) X) (G)",
        "(IF NIL (DEFUN F (X) X)) (F 1)",
        "(IF (= 1 2) (SETQ S '(1)) (SETQ S 5)) (LENGTH S) (+ S 1)",
        "(DEFUN S () (SETQ X 5)) (SETQ X \"a\") (S) (+ X 1)",
        "(SETQ X \"a\") (WHILE (GETPOINT) (SETQ X 5)) (+ X 1)",
        "(SETQ X (= 1 2)) (OR X (SETQ X 5)) (+ X 1)",
        "(SETQ X NIL) (IF X (+ X 1))",
        "(DEFUN F (/ S) (IF (SETQ S (SSGET)) (SSLENGTH S) 0)) (F)",
        "(SETQ S (SSGET)) (IF (NOT S) 0 (SSLENGTH S))",
        "(SETQ S (SSGET)) (IF (AND S (> (SSLENGTH S) 2)) (SSNAME S 0))",
        "(SETQ S (SSGET)) (AND S (SSNAME S 0))",
        "(SETQ S (SSGET)) (SSNAME S (- (SSLENGTH S) 1))",
        "(SETQ S (SSGET) N 0) (WHILE (< N (SSLENGTH S)) (SETQ N (1+ N))) (SSNAME S 0)",
        "(SETQ S (SSGET)) (WHILE S (SSLENGTH S) (SETQ S (SSGET)))",
        "(DEFUN F (N) (IF (> N 0) (G (- N 1)) 0)) (DEFUN G (N) (F N)) (F 3)",
        "(DEFUN F (A) (G)) (DEFUN G () A) (F 1)",
        "(SETQ X \"a\") (SETQ X 5) (+ X 1)",
        "(SETQ X \"a\") (DEFUN F (X) (+ X 1)) (F 5)",
        "(POLAR '(0 0) 6.2 5)",
        "(SETQ N 0) (WHILE (< N 5) (SETQ N (1+ N)))",
        "(SETQ N 0) (DEFUN UP () (SETQ N (1+ N))) (WHILE (< N 5) (UP))",
        "(SETQ N 0) (WHILE (< N 5) (IF T (SETQ N (1+ N))))",
        "(WHILE (GETPOINT) 1)",
        "(DEFUN F (/ N) (SETQ N 5) N) (F)",
        "(POLAR '(1 2) 0 5)",
        "(EQ NIL \"x\")",
        "(/ 0 5)",
        "(- 0)",
        "(SSLENGTH '($KVSEL \"E1\"))",
        "(WHILE (< 1 0))",
        "(GETPOINT)",
        "(TRANS '(1 2) 0 1)",
        "(DEFUN F (A) A) (F 1) (DEFUN F (A B) (+ A B)) (F 1 2)",
        "(DEFUN F (A) A) (IF T (DEFUN F (A B) (LIST A B))) (F 1)",
        "(DEFUN F (X) (G)) (DEFUN G () (H)) (DEFUN H () X) (F 1)",
        "(DEFUN F () (SETQ X 1)) (F) X",
        "(DEFUN F (A) (+ A X)) (SETQ X 1) (F (SETQ X 2))",
        "(DEFUN F (X) X) (DEFUN G (X) (F (SETQ X 2)) X) (G 1)",
        "(DEFUN F (P) (IF P (+ P 1) 0)) (F NIL)",
        "(DEFUN F (P) (AND P (+ P 1))) (F NIL)",
        "(DEFUN F (P) (SETQ P 5) (+ P 1)) (F \"a\")",
        "(DEFUN F (P) (IF (EQUAL P \"a\") 1 (+ P 1))) (F \"a\")",
        "(DEFUN F (P) (+ P 1)) (IF T (DEFUN F (P) P)) (F \"a\")",
        "(DEFUN F (P / N) (SETQ N 0) (WHILE (< N (LENGTH P)) (SETQ N (1+ N) P (CDR P)))) (F '(1))",
        "(DEFUN F (P) (DEFUN G (P) (+ P 1)) P) (F \"a\")",
        "(DEFUN F (P) (G P)) (DEFUN G (P) (F P)) (F 1)",
        "(DEFUN F (P) P) (+ 1 (F 2)) (LIST (F \"a\"))",
        "(DEFUN F (N) (IF (> N 1) N)) (+ 1 (F 2))",
        "(DEFUN F (N) (IF (< N 1) 1 (* N (F (- N 1))))) (+ 1 (F 5))",
        "(DEFUN C:BOLTS () 1) (C:BOLTS)",
        "(DEFUN F (P) (CAR P)) (F NIL) (F '())",
        "(SETQ L '(1)) (WHILE (> (LENGTH L) 0) (SETQ L (CDR L)))",
        "(SETQ L (GETPOINT)) (WHILE L (SETQ L (GETPOINT)))",
        "(PROGN)",
        "T"}) {
    EXPECT_THAT(findingsIn({text}), IsEmpty()) << text;
  }
}

TEST(Check, FindsWhatCannotWork) {
  struct Row {
    const char* text;
    const char* finding;
  };
  const Row rows[] = {
      {"(A (B)", "1:1 error unterminated list"},
      {"5 )", "1:3 error unexpected ')'"},
      {"(NO-SUCH 1)", "1:2 error unsupported LISP function: NO-SUCH"},
      {"(DEFUN F (X) X)\n(F)", "2:1 error wrong argument count for F"},
      {"(LIST MISSING)", "1:7 error unbound symbol: MISSING"},
      {"(CONS 1)", "1:1 error CONS: 1 argument"},
      {"(< 1 2 3)", "1:1 error <: 3 arguments"},
      {"(IF T)", "1:1 error IF: 1 part"},
      {"(SETQ A)", "1:1 error SETQ: 1 part"},
      {"(SETQ A 1 B)", "1:1 error SETQ: 3 parts"},
      {"(SETQ \"A\" 1)", "1:7 error setq target must be a symbol"},
      {"(QUOTE A B)", "1:1 error QUOTE: 2 parts"},
      {"(NOT)", "1:1 error NOT: 0 parts"},
      {"(DEFUN F (X))", "1:1 error defun syntax error"},
      {"(DEFUN F NIL 1)", "1:1 error defun syntax error"},
      {"(DEFUN F (1) 1)", "1:11 error defun parameter must be symbol"},
      {"((LIST) 1)", "1:2 error first list item must be a function symbol"},
      {"(+ 1 \"2\")", "1:6 error + expects numbers"},
      {"(/ 1 0)", "1:6 error division by zero"},
      {"(LENGTH NIL)", "1:9 error length expects list"},
      {"(SSNAME 5 0)", "1:9 error ssname expects a selection set"},
      {"(POLAR '(1 2) \"0\" 1)", "1:15 error polar expects point, angle, distance"},
      {"(DISTANCE '(1) '(1 2))", "1:11 error DISTANCE expects point list"},
      {"(= 'A 1)", "1:4 error = expects two numbers"},
      {"(DEFUN F (X) (+ X Y)) 1", "1:19 error unbound symbol: Y"},
      {"(DEFUN F (X) X)\n(LIST X)", "2:7 error unbound symbol: X"},
      {"(DEFUN F (X) X)\n(DEFUN G () X)\n(F (G))", "2:13 error unbound symbol: X"},
      {"(DEFUN F (/ X) (SETQ X 1) X)\n(F)\nX", "3:1 error unbound symbol: X"},
      {"(DEFUN F (A) A)\n(F 1)(DEFUN F (A B) (+ A B))\n(F 1)",
       "3:1 error wrong argument count for F"},
      {"(COND ((= 1 2) 5) (T 6))", "1:2 error unsupported LISP function: COND"},
      {"(F 1)\n(DEFUN F (X) X)", "1:2 error unsupported LISP function: F"},
      {"(+ 1 (LIST 2))", "1:6 error + expects numbers"},
      {"(SETQ X \"a\")\n(+ X 1)", "2:4 error + expects numbers"},
      {"(SETQ P '(1 2))\n(+ P 1)", "2:4 error + expects numbers"},
      {"(SETQ X 5)\n(SETQ X \"a\")\n(+ X 1)", "3:4 error + expects numbers"},
      {"(SETQ P (POLAR '(0 0) 0 5))\n(* P 2)", "2:4 error * expects numbers"},
      {"(DEFUN F (X / R) (SETQ R \"a\") (* R X))\n(F 5)", "1:34 error * expects numbers"},
      {"(DEFUN F (X / R) (* R X))\n(F 5)", "1:21 error * expects numbers"},
      {"(IF T (SETQ X \"a\") (SETQ X '(1)))\n(+ X 1)", "2:4 error + expects numbers"},
      {"(SETQ X (LIST 1 2) Y (+ X 1))", "1:25 error + expects numbers"},
      {"(FOREACH P '(1 2) (LIST P))", "1:2 error unsupported LISP function: FOREACH"},
      {"(DEFUN F (P) (+ P 1))\n(F \"a\")", "2:4 error + expects numbers"},
      {"(DEFUN F (P) (+ P 1))\n(SETQ X '(1 2))\n(F X)", "3:4 error + expects numbers"},
      {"(DEFUN F (A P / Q) (SETQ Q P) (LIST A (* 2 Q)))\n(F 1 (LIST 1 2))",
       "2:6 error * expects numbers"},
      {"(DEFUN F (P) (IF (> P 1) 2 3))\n(F \"a\")", "2:4 error > expects two numbers"},
      {"(DEFUN F (P / N) (SETQ N 0) (WHILE (< N P) (SETQ N (1+ N))))\n(F \"a\")",
       "2:4 error < expects two numbers"},
      {"(DEFUN G (Q) (LENGTH Q))\n(DEFUN F (P) (G P))\n(F 5)", "3:4 error length expects list"},
      {"(DEFUN F (P) (G P))\n(DEFUN G (Q) (LENGTH Q))\n(F 5)", "3:4 error length expects list"},
      {"(DEFUN F (A B) (/ A B))\n(F 1 0)", "2:6 error division by zero"},
      {"(DEFUN F () \"a\")\n(+ 1 (F))", "2:6 error + expects numbers"},
      {"(DEFUN F (N) (IF (> N 1) \"a\" '(1 2)))\n(SETQ X (F 5))\n(* 2 X)",
       "3:6 error * expects numbers"},
  };
  for (const Row& row : rows) EXPECT_THAT(findingsIn({row.text}), ElementsAre(row.finding));
}

TEST(Check, FindsFormsTooDeepForEveryEvaluation) {
  const auto nested = [](std::size_t count) {
    std::string text = "1";
    for (std::size_t n = 0; n < count; ++n) text = "(1+ " + text + ")";
    return text;
  };
  EXPECT_THAT(findingsIn({nested(128)}), IsEmpty());
  EXPECT_THAT(findingsIn({nested(129)}), ElementsAre(HasSubstr("LISP evaluation depth exceeded")));
}

TEST(Check, WarnsOfWhatSurprises) {
  struct Row {
    const char* text;
    const char* finding;
  };
  const Row rows[] = {
      {"(DEFUN INNER () (SETQ X 1))\n(DEFUN OUTER (X) (INNER) X)",
       "1:23 warning this assigns a copy of X when OUTER has called INNER"},
      {"(DEFUN A () (SETQ X 1))\n(DEFUN B () (A))\n(DEFUN C (/ X) (B) X)",
       "1:19 warning this assigns a copy of X when C has called A"},
      {"(DEFUN F (A) (+ A X))\n(DEFUN G (X) (F (SETQ X 2)))",
       "2:23 warning F does not see what is assigned to X here"},
      {"(DEFUN F (A) (H) A)\n(DEFUN H () X)\n(DEFUN G (X) (F (LIST (SETQ X 2))))",
       "3:29 warning F does not see what is assigned to X here"},
      {"(WHILE (CDR '(1)) 1)", "1:8 warning this condition is a list, and a list is never nil"},
      {"(SETQ T 1)", "1:7 warning T is always T"},
      {"(DEFUN F (X X) X)", "1:13 warning this name stands twice in the list"},
      {"(DEFUN IF (X) X)", "1:8 warning a special form cannot be replaced"},
      {"(DEFUN CAR (X) X)", "1:8 warning this replaces a builtin function"},
      {"(CAR)", "1:1 warning CAR of 0 values"},
      {"(SETQ S (SSGET \"X\"))\n(SSNAME S 0)\n(SSLENGTH S)",
       "2:9 warning SSGET answers nil when it finds nothing"},
      {"(DEFUN F (/ S) (SETQ S (SSGET)) (IF (NOT S) 1) (SSNAME S 0))\n(F)",
       "1:56 warning SSGET answers nil when it finds nothing"},
      {"(SETQ P (GETPOINT \"At: \"))\n(+ P 1)", "2:4 warning + expects numbers"},
      {"(SETQ A 45)\n(POLAR '(0 0) A 5)", "2:15 warning angles are in radians"},
      {"(WHILE T (COMMAND \"POINT\" \"0,0\"))", "1:8 warning nothing ends this loop"},
      {"(DEFUN F (X) (COMMAND \"POINT\" X))\n(SETQ N 0)\n(WHILE (< N 5) (F \"0,0\"))",
       "3:8 warning nothing in this loop changes N"},
      {"(DEFUN UP () (SETQ N 1))\n(DEFUN F (N) (WHILE (< N 5) (LIST N)))\n(F 1)",
       "2:21 warning nothing in this loop changes N"},
      {"(DEFUN F (A B) A)\n(F 1 2)", "1:13 warning F does not use B"},
      {"(DEFUN F (A / TMP) A)\n(F 1)", "1:15 warning F does not use TMP"},
      {"(DEFUN F (A / TMP) (SETQ TMP A) A)\n(F 1)", "1:15 warning F does not use TMP"},
      {"(DEFUN F (A) A)\n(DEFUN G () 1)\n(DEFUN F (A) (+ A 1))\n(F 1)",
       "3:8 warning F is defined twice"},
      {"(DEFUN F () (G))\n(F)\n(DEFUN G () 1)",
       "2:1 warning F may call G, which is not defined yet"},
      {"(SSNAME (SSGET \"X\") 0)", "1:9 warning SSGET answers nil when it finds nothing"},
      {"(DEFUN F (P) (+ P 1))\n(F (GETPOINT))", "2:4 warning + expects numbers"},
      {"(DEFUN ALL () (SSGET))\n(SSNAME (ALL) 0)",
       "2:9 warning SSGET answers nil when it finds nothing"},
      {"(POLAR '(0 0) 90 5)", "1:15 warning angles are in radians"},
      {"(SETQ N 0)\n(WHILE (< N 5) (LIST N))", "2:8 warning nothing in this loop changes N"},
      {"(SETQ COUNT 5)\n(SETQ CUONT 6)\n(LIST COUNT)", "2:7 warning nobody asks for CUONT"},
      {"(DEFUN F () (SETQ TEMP 5) (LIST TEMP))\n(F)", "1:19 warning TEMP stays when F returns"},
      {"(DEFUN F (A) (SETQ Q A TEMP 5) (LIST TEMP Q))\n(F 1)",
       "1:20 warning Q and TEMP stay when F returns"},
      {"(SETQ L '(1 2))\n(WHILE L (PRINC (CAR L)) (SETQ L (CDR L)))",
       "2:8 warning this loop runs once more when L is empty"},
      {"(DEFUN F (T) (LIST 1))\n(F 1)", "1:11 warning T is always T"},
      {"(SETQ P \"0,0\")\n(+ 1 (CAR P))", "2:11 warning CAR of a text is nil"},
      {"(DEFUN F (P) (CAR (CDR P)))\n(F \"0,0\")", "2:4 warning CDR of a text is nil"},
      {"(DEFUN C:BOLTS () (COMMAND \"POINT\" \"0,0\" \"\"))", "1:8 warning nothing calls C:BOLTS"},
  };
  for (const Row& row : rows) EXPECT_THAT(findingsIn({row.text}), ElementsAre(row.finding));
  // Its own name: nothing surprising.
  EXPECT_THAT(findingsIn({"(DEFUN F (/ X) (SETQ X 1) X) (DEFUN G (X) (F) X)"}), IsEmpty());
}

// Texts that made the checker slow: long lists, many functions that call each other, many
// definitions of one name, an error in every form, many assignments deep inside. Each at most a
// second.
TEST(Check, TakesLargeTexts) {
  const auto repeated = [](std::size_t count, const auto& make) {
    std::string text;
    for (std::size_t n = 0; n < count; ++n) text += make(n);
    return text;
  };
  const auto number = [](std::size_t n) { return std::to_string(n); };
  const std::string texts[] = {
      "(LIST " + repeated(150000, [](std::size_t) { return "1 "; }) + ")",
      "(+ " + repeated(150000, [](std::size_t) { return "'A "; }) + ")",
      "(LIST " + repeated(50000, [&](std::size_t n) { return "A" + number(n) + " "; }) + ")",
      repeated(2000,
               [&](std::size_t n) {
                 return "(DEFUN F" + number(n) + " (A / L" + number(n) + ") (SETQ X" + number(n) +
                        " A) (F" + number((n * 7 + 1) % 2000) + " Y) (F" +
                        number((n * 13 + 5) % 2000) + " (SETQ A 1)) (LIST Z" + number(n) + "))\n";
               }),
      repeated(12000,
               [&](std::size_t n) {
                 return "(DEFUN F" + number(n) + " (P) (F" + number((n * 7 + 1) % 12000) +
                        " P) (F" + number((n * 13 + 5) % 12000) + " P))(F" + number(n) +
                        " \"a\")\n";
               }),
      repeated(20000, [](std::size_t) { return "(DEFUN F (A) A) (F 1)\n"; }),
      repeated(20000, [&](std::size_t n) { return "(SETQ A" + number(n) + " 1)\n"; }),
      repeated(100000, [](std::size_t) { return "(FOO 1)\n"; }),
      repeated(120, [](std::size_t) { return "(WHILE X "; }) +
          repeated(60000, [&](std::size_t n) { return "(SETQ A" + number(n) + " 1)"; }) +
          std::string(120, ')'),
      repeated(120, [](std::size_t) { return "(IF X "; }) + "(PROGN " +
          repeated(60000, [&](std::size_t n) { return "(SETQ A" + number(n) + " 1)"; }) +
          std::string(121, ')'),
      "(SETQ L 1)" + repeated(50000, [](std::size_t) { return "(SETQ L (LIST L L))"; }),
      repeated(20000,
               [&](std::size_t n) {
                 return "(DEFUN F" + number(n) + " (A B) (F" + number(n + 1) + " A))(F" +
                        number(n) + " 1 2)\n";
               }),
  };
  const auto seconds_max =
      static_cast<double>(lisp_worker::testing_support::setting("LISP_CHECK_SECONDS", 1));
  for (const std::string& text : texts) {
    const std::clock_t begin = std::clock();
    EXPECT_LE(findingsIn({text}).size(), kFindingCountMax);
    const double seconds = static_cast<double>(std::clock() - begin) / CLOCKS_PER_SEC;
    EXPECT_LT(seconds, seconds_max) << text.substr(0, 60);
  }
}

TEST(Check, FindsOneMoreThanIsShownAndThenStops) {
  for (const std::size_t count :
       {kFindingCountMax - 1, kFindingCountMax, kFindingCountMax + 1, 10 * kFindingCountMax}) {
    std::string text;
    for (std::size_t n = 0; n < count; ++n) text += "(NO-SUCH)";
    EXPECT_EQ(findingsIn({text}).size(), std::min(count, kFindingCountMax)) << count;
  }
}

TEST(Check, KnowsWhatEarlierProgramsDefine) {
  EXPECT_THAT(findingsIn({"(DEFUN F (X) X) (SETQ A 1)", "(F A)"}), IsEmpty());
  EXPECT_THAT(findingsIn({"(NO-SUCH)", "1"}), IsEmpty());  // Not of the last text.
}

// The advice on habits from other languages.
TEST(Check, KnowsHabits) {
  int count = 0;
  for (const explain::Habit& habit : explain::habits()) {
    const std::vector<ProgramPointer> programs = {
        readProgram("p", "(SETQ A 1 L '(1)) (" + std::string(habit.name()) + " A L)")};
    const std::string advice =
        explain::adviceOnHabit(programs[0]->reading.forms[1], programs[0]->source);
    if (advice.empty()) continue;
    ++count;
    std::vector<std::string> found;
    for (const Finding& finding : check::findingsIn(programs, 0)) found.push_back(finding.advice);
    EXPECT_THAT(found, testing::Contains(advice)) << habit.name();
  }
  EXPECT_GT(count, 30);
}

TEST(Check, NamesTheCallThatAnArgumentComesTo) {
  const std::vector<ProgramPointer> programs = {
      readProgram("lib.lsp", "(DEFUN HALF (N)\n  (/ N 2))\n(DEFUN MIDDLE (P) (HALF P))"),
      readProgram("a.lsp", "(MIDDLE '(2 4))")};
  const std::vector<Finding> findings = check::findingsIn(programs, 1);
  ASSERT_EQ(findings.size(), 1u);
  EXPECT_EQ(describe(findings[0]),
            "a.lsp:1:9: error: / expects numbers\n"
            "    1 | (MIDDLE '(2 4))\n"
            "      |         ^^^^^^\n"
            "  MIDDLE takes it as P, and it comes to / at lib.lsp:2:3: it takes a number, not a "
            "list; take a number out of the list: (CAR P) is the x of a point, (CAR (CDR P)) the "
            "y\n");
}

TEST(Check, FillsAdviceInFromTheProgram) {
  const auto adviceOn = [](const std::string& text) {
    const std::vector<Finding> findings =
        check::findingsIn(std::vector{readProgram("a.lsp", text)}, 0);
    return findings.empty() ? "" : findings.front().advice;
  };
  EXPECT_EQ(adviceOn("(DEFUN F (A / B) (SETQ B A C B D C) (LIST B C D)) (F 1)"),
            "only F uses them: declare them as locals, (DEFUN F (A / B C D) ...)");
  EXPECT_EQ(adviceOn("(DEFUN F () (SETQ B 1) B) (F)"),
            "only F uses it: declare it as local, (DEFUN F (/ B) ...)");
  EXPECT_EQ(adviceOn("(POLAR '(0 0) 45 5)"),
            "degrees are turned into radians: (* 45 0.017453292519943295)");
  std::string many = "(DEFUN F () (SETQ";
  for (int n = 0; n < 10; ++n) many += " A" + std::to_string(n) + " 1";
  many += ") (+";
  for (int n = 0; n < 10; ++n) many += " A" + std::to_string(n);
  EXPECT_EQ(adviceOn(many + ")) (F)"),
            "only F uses them: declare them as locals, (DEFUN F (/ A0 A1 A2 A3 A4 A5 A6 A7 ...) "
            "...)");
}

TEST(Check, WarnsOfAnglesInDegreesThreeTimesOnly) {
  std::string text;
  for (int n = 0; n < 9; ++n) text += "(POLAR '(0 0) 90 5)\n";
  EXPECT_EQ(findingsIn({text}).size(), 3u);
}

TEST(Check, DescribesAFindingWithItsLine) {
  const std::vector<ProgramPointer> programs = {
      readProgram("a.lsp", "(SETQ LENGTH 5)\n(* 2 LENGHT)")};
  const std::vector<Finding> findings = check::findingsIn(programs, 0);
  ASSERT_EQ(findings.size(), 1u);
  EXPECT_EQ(describe(findings[0]),
            "a.lsp:2:6: error: unbound symbol: LENGHT\n"
            "    2 | (* 2 LENGHT)\n"
            "      |      ^^^^^^\n"
            "  did you mean LENGTH?\n");
}

}  // namespace
}  // namespace check
