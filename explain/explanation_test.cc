#include "explain/explanation.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "explain/form.h"
#include "explain/source.h"

namespace explain {
namespace {

using testing::HasSubstr;

Outcome outcomeOf(const std::string& text, std::vector<AnsweredCall> answers = {}) {
  Definitions definitions;
  return evaluate(readProgram("p.lsp", text), definitions, answers, nullptr);
}

TEST(Source, KnowsLinesAndColumns) {
  const Source source("s", "a\n\xC3\xA4 b\n");
  EXPECT_EQ(source.placeOf(0), (Place{1, 1}));
  EXPECT_EQ(source.placeOf(2), (Place{2, 1}));
  EXPECT_EQ(source.placeOf(5), (Place{2, 3}));  // Letters, not bytes.
  EXPECT_EQ(source.placeOf(7), (Place{3, 1}));
  EXPECT_EQ(source.line(2), "\xC3\xA4 b");
  EXPECT_EQ(source.line(3), "");
}

TEST(ShowPlace, PutsACaretBelowTheLine) {
  const Source source("s", "(A B)\n(\tCC \xC3\xA4 D)");
  EXPECT_EQ(showPlace(source, 3, 4), "    1 | (A B)\n      |    ^\n");
  EXPECT_EQ(showPlace(source, 8, 10), "    2 | ( CC \xC3\xA4 D)\n      |   ^^\n");
  EXPECT_EQ(showPlace(source, 14, 15), "    2 | ( CC \xC3\xA4 D)\n      |        ^\n");
  EXPECT_EQ(showPlace(source, 0, 99), "    1 | (A B)\n      | ^^^^^\n");  // To the line's end.
  EXPECT_EQ(showPlace(source, 15, 15), "    2 | ( CC \xC3\xA4 D)\n      |         ^\n");
}

TEST(ShowPlace, CutsLongLinesAroundTheCaret) {
  const std::string line = std::string(200, 'x') + "HERE" + std::string(200, 'y');
  const std::string shown = showPlace(Source("s", line), 200, 204);
  EXPECT_THAT(shown, HasSubstr("...xxx"));
  EXPECT_THAT(shown, HasSubstr("yyy...\n"));
  const std::size_t caret = shown.find('^');
  const std::size_t second_line = shown.find('\n') + 1;
  EXPECT_EQ(shown.substr(caret - second_line, 4), "HERE");
}

// Bytes that only continue letters, as in a file that is not UTF-8.
TEST(ShowPlace, CutsLinesWithoutLettersAnywhere) {
  const Source source("s", std::string(200, '\xBC'));
  for (const std::size_t place : {0U, 45U, 46U, 91U, 199U}) {
    EXPECT_THAT(showPlace(source, place, place + 1), HasSubstr("\xBC\xBC\xBC")) << place;
    EXPECT_THAT(showPlace(source, place, place + 1), HasSubstr("^\n")) << place;
  }
}

TEST(ReadWithPlaces, KnowsWhereFormsStand) {
  const Source source("s", "  (LIST 'a\n\"t\") ; c\n5");
  const Reading reading = readForms(source);
  ASSERT_FALSE(reading.fault.has_value());
  ASSERT_EQ(reading.forms.size(), 2u);
  const Form& list = reading.forms[0];
  EXPECT_EQ(list.begin, 2u);
  EXPECT_EQ(list.end, 15u);
  ASSERT_EQ(list.items.size(), 3u);
  EXPECT_EQ(list.items[1].begin, 8u);
  EXPECT_EQ(list.items[1].operatorName(), "QUOTE");
  EXPECT_EQ(list.items[2].line, 2u);
  EXPECT_EQ(reading.forms[1].line, 3u);
}

TEST(ReadWithPlaces, BoundsNestingAsTheWorkerDoes) {
  const std::string deepest = std::string(513, '(') + std::string(513, ')');
  EXPECT_FALSE(readForms(Source("s", deepest)).fault.has_value());
  const auto fault = readForms(Source("s", '(' + deepest + ')')).fault;
  ASSERT_TRUE(fault.has_value());
  EXPECT_EQ(fault->message, "parser nesting limit exceeded");
  EXPECT_EQ(fault->begin, 513u);
}

TEST(ReadWithPlaces, KnowsTheInnermostListThatIsOpen) {
  const auto open_at = [](const char* text) {
    const auto fault = readForms(Source("s", text)).fault;
    return fault && fault->is_unfinished ? fault->open_at : 99;
  };
  EXPECT_EQ(open_at("(DEFUN F (X)"), 0u);
  EXPECT_EQ(open_at("(A) (B (C (D)"), 7u);
  EXPECT_EQ(open_at("(A 'B"), 0u);
  EXPECT_EQ(open_at("(A \"b) "), 3u);
  EXPECT_EQ(open_at("(A '"), 0u);
  EXPECT_EQ(open_at("(A))"), 99u);  // More text could not make it whole.
}

TEST(Explanation, TellsPlaceValuesCallsAndAdvice) {
  EXPECT_EQ(explanationOf(outcomeOf("(DEFUN AVERAGE (SUM COUNT)\n"
                                    "  (/ SUM COUNT))\n"
                                    "(DEFUN MEAN (ITEMS) (AVERAGE 12 (LENGTH ITEMS)))\n"
                                    "(MEAN '())\n")),
            "p.lsp:2:10: division by zero\n"
            "    2 |   (/ SUM COUNT))\n"
            "      |          ^^^^^\n"
            "  values    SUM is 12\n"
            "            COUNT is 0\n"
            "  in        AVERAGE, called at p.lsp:3:21  (AVERAGE 12 (LENGTH ITEMS))\n"
            "            MEAN, called at p.lsp:4:1  (MEAN '())\n"
            "  expected  a divisor that is not 0\n"
            "  try       test it before: (IF (= D 0) ... (/ N D))\n");
}

TEST(Explanation, SuggestsNamesThatAreNear) {
  EXPECT_THAT(explanationOf(outcomeOf("(SETQ RADIUS 5) (* 2 RADUIS)")),
              HasSubstr("did you mean RADIUS?"));
  EXPECT_THAT(explanationOf(outcomeOf("(LENGHT '(1))")), HasSubstr("did you mean LENGTH?"));
  EXPECT_THAT(explanationOf(outcomeOf("(NTH 0 '(1))")), HasSubstr("load examples/lib/lists.lsp"));
  EXPECT_THAT(explanationOf(outcomeOf("(+ 1 CAR)")), HasSubstr("CAR is a function: call it"));
}

TEST(Explanation, AdvisesOnEveryMistake) {
  struct Row {
    const char* program;
    const char* advice;
  };
  const Row rows[] = {
      {"(+ 1 NIL)", "nil comes from a search that has found nothing"},
      {"(+ 1 \"2\")", "write the number without quotes"},
      {"(+ 1 '(2))", "take a number out of the list"},
      {"(+ 1 'A)", "leave the apostrophe out"},
      {"(-)", "give - an argument"},
      {"(1+ 1 2)", "count what stands between the parentheses of 1+"},
      {"(< 1 2 3)", "count what stands between the parentheses of <"},
      {"(= \"A\" \"A\")", "compare texts, symbols and lists with EQUAL"},
      {"(/ 1 0)", "test it before: (IF (= D 0)"},
      {"(CONS 1)", "count what stands"},
      {"(EQUAL 1)", "count what stands"},
      {"(LENGTH NIL)", "nil is not a list: begin with '()"},
      {"(LENGTH 5)", "LENGTH counts the elements of a list only"},
      {"(LENGTH)", "count what stands"},
      {"(SSLENGTH NIL)", "SSGET answers nil when it finds nothing"},
      {"(SSNAME '($KVSEL) \"1\")", "write the number without quotes"},
      {"(SSNAME NIL)", "count what stands"},
      {"(DISTANCE NIL '(1 2))", "nil comes from a point that nobody has picked"},
      {"(DISTANCE '(1 2) 5)", "make a point of numbers with (LIST X Y)"},
      {"(POLAR '(1 2) NIL 5)", "nil comes from a search"},
      {"(ANGLE '(1 2))", "count what stands"},
      {"(TRANS '(1 2) 0)", "count what stands"},
      {"(TRANS '(1 2) 0 1)", "the host registers one; a library runs without"},
      {"MISSING", "give it one before, with SETQ or as a parameter"},
      {"CAR", "CAR is a function: call it"},
      {"(SETQ LENGTH-OF 1) LENGHT-OF", "did you mean LENGTH-OF?"},
      {"((LIST 1) 2)", "if the list is data, quote it"},
      {"(XYZZY 1)", "define it with DEFUN before this line"},
      {"(LENGHT '())", "did you mean LENGTH?"},
      {"(QUOTE)", "look where the parentheses close"},
      {"(IF)", "put several forms of one branch into a PROGN"},
      {"(SETQ 'A 1)", "names stand without quotes and apostrophes"},
      {"(DEFUN F)", "a name, a parameter list, () for none, and a body are needed"},
      {"(DEFUN F X 1)", "the parameter list is a list of names"},
      {"(DEFUN F (1) 1)", "parameters are names; give values when you call"},
      {"(DEFUN F (X) X) (F)", "F is defined at p.lsp:1"},
      {"(DEFUN F (X) (F X)) (F 1)", "does the recursion end?"},
      {"(WHILE T)", "does the condition of that WHILE ever become nil?"},
      {"(LIST 1", "close it with )"},
      {"\"a", "end it with a double quote"},
      {")", "take it out, or open a list before it"},
      {"'", "take the apostrophe out, or quote something"},
  };
  for (const Row& row : rows) {
    const std::string text = explanationOf(outcomeOf(row.program));
    const std::size_t advice = text.find("  try       ");
    ASSERT_NE(advice, std::string::npos) << text;
    EXPECT_THAT(text.substr(advice), HasSubstr(row.advice));
  }
  const std::string deep(600, '(');
  EXPECT_THAT(explanationOf(outcomeOf(deep)), HasSubstr("build the value step by step"));
}

TEST(Explanation, ShowsWhereTheStepsWent) {
  const std::string text =
      explanationOf(outcomeOf("(DEFUN SPIN ()\n  (WHILE T\n    (SETQ N 1)))\n(SPIN)"));
  EXPECT_THAT(text, HasSubstr("LISP evaluation step limit exceeded"));
  EXPECT_THAT(text, HasSubstr("SPIN line 3"));
  EXPECT_THAT(text, HasSubstr("(SETQ N 1)"));
}

TEST(Explanation, CutsLongChainsOfCalls) {
  const std::string text = explanationOf(outcomeOf("(DEFUN F (N) (F (1+ N)))\n(F 0)"));
  EXPECT_THAT(text, HasSubstr("LISP evaluation depth exceeded"));
  EXPECT_THAT(text, HasSubstr("more calls ..."));
}

TEST(Explanation, TellsOfADivergenceWhatWasAskedBefore) {
  const std::vector<AnsweredCall> answers = {
      {.name = "GETDIST", .answer = lisp::number(1), .arguments = std::vector{lisp::number(7)}}};
  const std::string text = explanationOf(outcomeOf("(GETDIST (+ 4 4))", answers));
  EXPECT_THAT(text, HasSubstr("LISP host replay divergence at call 1: GETDIST"));
  EXPECT_THAT(text, HasSubstr("(+ 4 4) is 8"));
  EXPECT_THAT(text, HasSubstr("before: (GETDIST 7)"));
  EXPECT_THAT(explanationOf(outcomeOf("5", answers)), HasSubstr("unused answers"));
}

TEST(Explanation, ShowsTheCallThatTheHostHasRefused) {
  std::vector<AnsweredCall> answers = {
      {.name = "ENTMAKE", .answer = lisp::nil()},
      {.name = "ENTMAKE", .answer = lisp::nil(), .refusal = "unknown type: SPHERE"}};
  EXPECT_EQ(explanationOf(answers[1]), "ENTMAKE refused: unknown type: SPHERE\n");
  Definitions definitions;
  static_cast<void>(
      evaluate(readProgram("p.lsp", "(DEFUN MAKE (G)\n  (ENTMAKE G))\n(MAKE 1)\n(MAKE 2)"),
               definitions, answers, nullptr));
  EXPECT_FALSE(answers[0].fault.has_value());
  EXPECT_EQ(explanationOf(answers[1]),
            "p.lsp:2:3: ENTMAKE refused: unknown type: SPHERE\n"
            "    2 |   (ENTMAKE G))\n"
            "      |   ^^^^^^^^^^^\n"
            "  values    G is 2\n"
            "  in        MAKE, called at p.lsp:4:1  (MAKE 2)\n");
}

TEST(AnsweredCalls, KnowTheirPlaceAndTheWayToIt) {
  std::vector<AnsweredCall> answers(3, {.name = "ENTMAKE", .answer = lisp::nil()});
  Definitions definitions;
  static_cast<void>(evaluate(readProgram("p.lsp",
                                         "(DEFUN MAKE (G)\n  (ENTMAKE G))\n(SETQ N 0)\n"
                                         "(WHILE (< N 2)\n  (MAKE N)\n  (SETQ N (1+ N)))\n"
                                         "(ENTMAKE 1)"),
                             definitions, answers, nullptr));
  ASSERT_TRUE(answers[1].place.has_value());
  const HostCallPlace& place = *answers[1].place;
  EXPECT_EQ(place.program->source.text().substr(place.begin, place.end - place.begin),
            "(ENTMAKE G)");
  ASSERT_EQ(place.calls.size(), 1u);
  EXPECT_EQ(place.calls[0].function, "MAKE");
  EXPECT_EQ(nameOfPlace(*place.calls[0].program, place.calls[0].begin), "p.lsp:5:3");
  ASSERT_EQ(place.loops.size(), 1u);
  EXPECT_EQ(place.loops[0].line, 4u);
  EXPECT_EQ(place.loops[0].round, 2u);
  EXPECT_EQ(place.loops[0].program, place.program);
  EXPECT_EQ(answers[0].place->loops[0].round, 1u);
  EXPECT_TRUE(answers[2].place->calls.empty());
  EXPECT_TRUE(answers[2].place->loops.empty());
}

TEST(AnsweredCalls, KnowOnlyTheInnermostPartOfALongWay) {
  std::vector<AnsweredCall> answers(1, {.name = "ENTMAKE", .answer = lisp::nil()});
  Definitions definitions;
  static_cast<void>(
      evaluate(readProgram("p.lsp",
                           "(DEFUN F (N / K)\n  (SETQ K 1)\n  (WHILE (> K 0)\n    (SETQ K 0)\n"
                           "    (IF (= N 0) (ENTMAKE 1) (F (1- N)))))\n(F 12)"),
               definitions, answers, nullptr));
  ASSERT_TRUE(answers[0].place.has_value());
  EXPECT_EQ(answers[0].place->calls.size(), kKeptWayMax);
  EXPECT_EQ(answers[0].place->loops.size(), kKeptWayMax);
}

TEST(Explanation, PointsAtWhatIsMissingInAText) {
  struct Row {
    const char* text;
    const char* place;
    const char* hint;
  };
  const Row rows[] = {
      {"(A\n(B)\n", "p.lsp:1:1: unterminated list", "should end before line 2"},
      {"(A (B", "p.lsp:1:1: unterminated list", "the text ends before"},
      {"(A (B \"b))\n(C \"d)\n", "p.lsp:1:7: unterminated list", "closing quote may be missing"},
      {"(A) )", "p.lsp:1:5: unexpected ')'", "closed already"},
      {"\"abc", "p.lsp:1:1: unterminated string", "has no end"},
      {"(A 5 \"3/4\" BOLT\")\n", "p.lsp:1:6: unterminated string",
       "a double quote inside a text is written \\\": \"3/4\\\" BOLT\""},
      {"(A \"6\" x\")\n(B \"c\")\n", "p.lsp:1:4: unterminated string",
       "a double quote inside a text is written \\\": \"6\\\" x\""},
      {"(A \"b\" C \"d)\n", "p.lsp:1:10: unterminated string", "has no end"},
      {"(A \"b\") (C \"d)\n", "p.lsp:1:12: unterminated string", "has no end"},
      {"A '", "p.lsp:1:3: unexpected end of input", "nothing follows"},
  };
  for (const Row& row : rows) {
    const std::string text = explanationOf(outcomeOf(row.text));
    EXPECT_THAT(text, HasSubstr(row.place));
    EXPECT_THAT(text, HasSubstr(row.hint));
  }
  EXPECT_THAT(explanationOf(outcomeOf("(A 5 \"3/4\" BOLT\")")), Not(HasSubstr("  try ")));
}

TEST(ExplainAnswer, PointsIntoTheAnswer) {
  EXPECT_FALSE(explainAnswer("(1 2)").has_value());
  EXPECT_EQ(explainAnswer("(1 2")->message, "host response parse error: unterminated list");
  EXPECT_EQ(explainAnswer("")->message, "host response parse error: expected exactly one form");
  EXPECT_THAT(explanationOf(*explainAnswer("1 2")),
              HasSubstr("the host's answer:1:3: host response parse error: expected exactly"));
}

TEST(EvaluateObserved, LeavesDefinitionsOnlyWhenItEndsWithAValue) {
  Definitions definitions;
  EXPECT_EQ(
      evaluate(readProgram("a", "(SETQ A 1)(DEFUN F (X) (+ X A))"), definitions, {}, nullptr).kind,
      OutcomeKind::Value);
  EXPECT_EQ(evaluate(readProgram("b", "(SETQ A 2)(/ 1 0)"), definitions, {}, nullptr).kind,
            OutcomeKind::EvalError);
  const Outcome outcome = evaluate(readProgram("c", "(F 1)"), definitions, {}, nullptr);
  EXPECT_EQ(lisp::asNumber(outcome.value), 2);
}

TEST(Definitions, AreWrittenAsAProgramThatMakesThem) {
  Definitions definitions;
  static_cast<void>(evaluate(
      readProgram("a",
                  "(SETQ A '(1 \"x\\\"y\" SYM) HUGE (* 1e300 1e300)) (DEFUN F (X) (LIST X A))"),
      definitions, {}, nullptr));
  std::vector<std::string> lost;
  const std::string text = definitions.asProgram(lost);
  EXPECT_EQ(lost, std::vector<std::string>{"HUGE"});
  Definitions again;
  EXPECT_EQ(evaluate(readProgram("b", text), again, {}, nullptr).kind, OutcomeKind::Value) << text;
  EXPECT_EQ(again.asProgram(lost), text);
}

// Many locals in many calls: what is done for each is bounded as in the worker.
TEST(EvaluateObserved, FollowsProgramsThatTouchMuch) {
  std::string text = "(DEFUN F (";
  for (int n = 0; n < 20000; ++n) text += "/ L" + std::to_string(n) + " ";
  text += ") 1) (SETQ N 0) (WHILE (< N 20000) (F) (SETQ N (1+ N)))";
  EXPECT_EQ(outcomeOf(text).kind, OutcomeKind::Value);
}

}  // namespace
}  // namespace explain
