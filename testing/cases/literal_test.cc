// The literal implementation by itself: what other tests take for the right answer is held here
// against answers worked out by hand.

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <optional>
#include <string>
#include <vector>

#include "testing/reference/literal_encoder.h"
#include "testing/reference/literal_interpreter.h"
#include "testing/reference/literal_reader.h"
#include "testing/reference/literal_value.h"
#include "testing/reference/literal_worker.h"
#include "testing/wire/frame_makers.h"

namespace lisp_worker::testing_support {
namespace {

using worker::WorkerStatus;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

// An evaluation as the host sees it: the value's text, or the kind and text of another outcome.
std::string shown(const FrameResponse& response) {
  const EvalResult result = decodeEvalResult(response.payload);
  if (!result.decoded) return describe(response);
  switch (result.eval_status) {
    case 0:
      return result.text;
    case 1:
      return "ReadError: " + result.text;
    case 2:
      return "EvalError: " + result.text;
    case 3:
      return "StepLimit: " + result.text;
    case 4:
      return "call " + result.call_name + " " + result.text;
    default:
      return "unknown: " + result.text;
  }
}

// The answer of a fresh worker to one program.
std::string answerTo(const std::string& program) {
  LiteralWorker worker;
  return shown(worker.handle(startFrame(program)));
}

std::uint64_t stepsOf(const std::string& program) {
  LiteralWorker worker;
  return decodeEvalResult(worker.handle(startFrame(program)).payload).steps;
}

struct Row {
  const char* program;
  const char* answer;
};

void PrintTo(const Row& row, std::ostream* out) { *out << row.program; }

class LiteralPrograms : public testing::TestWithParam<Row> {};

TEST_P(LiteralPrograms, GiveTheirAnswers) {
  EXPECT_EQ(answerTo(GetParam().program), GetParam().answer);
}

INSTANTIATE_TEST_SUITE_P(
    Core, LiteralPrograms,
    testing::Values(Row{"", "nil"}, Row{" \t\x1a ; nothing\n", "nil"}, Row{"5", "5"},
                    Row{"\"a\"", "\"a\""}, Row{"nil", "nil"}, Row{"T", "T"}, Row{"t", "T"},
                    Row{"(SETQ T 5) T", "T"}, Row{"FOO", "EvalError: unbound symbol: FOO"},
                    Row{"foo", "EvalError: unbound symbol: FOO"}, Row{"()", "nil"},
                    Row{"'()", "()"},
                    Row{"(1 2)", "EvalError: first list item must be a function symbol"},
                    Row{"(\"LIST\" 1)", "EvalError: first list item must be a function symbol"},
                    Row{"(nil)", "EvalError: first list item must be a function symbol"},
                    Row{"((LIST) 1)", "EvalError: first list item must be a function symbol"},
                    Row{"(LIST 1 (LIST 2 (CAR (FOO))))",
                        "EvalError: unsupported LISP function: FOO"},
                    Row{"1 2 3", "3"}, Row{"(SETQ A 1) (SETQ B 2) (+ A B)", "3"},
                    Row{"(SETQ A 1) (B", "ReadError: unterminated list"}));

INSTANTIATE_TEST_SUITE_P(
    SpecialForms, LiteralPrograms,
    testing::Values(
        Row{"(QUOTE)", "EvalError: quote expects one argument"},
        Row{"(QUOTE A B)", "EvalError: quote expects one argument"}, Row{"'A", "A"},
        Row{"(SETQ)", "EvalError: setq expects symbol/value pairs"},
        Row{"(SETQ A)", "EvalError: setq expects symbol/value pairs"},
        Row{"(SETQ A 1 B)", "EvalError: setq expects symbol/value pairs"},
        Row{"(SETQ A 1 B 2)", "2"}, Row{"(SETQ A 1 B 2) (LIST A B)", "(1 2)"},
        Row{"(SETQ A 1 \"B\" 2)", "EvalError: setq target must be a symbol"},
        Row{"(IF NIL 1)", "nil"}, Row{"(IF '() 1 2)", "1"}, Row{"(IF NIL 1 2)", "2"},
        Row{"(IF 1)", "EvalError: if expects condition, true and optional false expression"},
        Row{"(IF 1 2 3 4)", "EvalError: if expects condition, true and optional false expression"},
        Row{"(PROGN)", "nil"}, Row{"(PROGN 1 2)", "2"},
        Row{"(WHILE)", "EvalError: while expects a condition"}, Row{"(WHILE NIL)", "nil"},
        Row{"(SETQ I 0) (WHILE (< I 3) (SETQ I (1+ I)) 5)", "5"},
        Row{"(DEFUN F (A / B) (SETQ B A) B)", "F"},
        Row{"(DEFUN F (A / B) (SETQ B A) B) (F 3)", "3"},
        Row{"(DEFUN F (A / B) (SETQ B A) B) (F 3) B", "EvalError: unbound symbol: B"},
        Row{"(DEFUN F ())", "EvalError: defun syntax error"},
        Row{"(DEFUN \"F\" () 1)", "EvalError: defun syntax error"},
        Row{"(DEFUN NIL () 1)", "EvalError: defun syntax error"},
        Row{"(DEFUN F NIL 1)", "EvalError: defun syntax error"},
        Row{"(DEFUN F (A NIL) 1)", "EvalError: defun parameter must be symbol"},
        Row{"(DEFUN F (A / ()) 1)", "EvalError: defun parameter must be symbol"},
        Row{"(DEFUN F (A) A) (F)", "EvalError: wrong argument count for F"},
        Row{"(DEFUN F (A) A) (F 1 2)", "EvalError: wrong argument count for F"},
        Row{"(DEFUN F (A A) A) (F 1 2)", "2"}, Row{"(DEFUN F (A / A) A) (F 1)", "nil"},
        Row{"(DEFUN F (T) T) (F 1)", "T"},
        Row{"(DEFUN G () (SETQ A 2) A) (DEFUN F (A) (LIST (G) A)) (F 1)", "(2 1)"},
        Row{"(DEFUN G (B) A) (DEFUN F (A) (G (SETQ A 9))) (F 1)", "1"},
        Row{"(DEFUN + (A B) A) (+ 1 2)", "1"}, Row{"(DEFUN IF (A B) 7) (IF NIL 1)", "nil"},
        Row{"(DEFUN F (A) (DEFUN F (A) 2) 1) (LIST (F 0) (F 0))", "(1 2)"},
        Row{"(DEFUN F (A) A) (F (DEFUN F () 2))", "F"}, Row{"(AND)", "T"}, Row{"(AND 1 2)", "2"},
        Row{"(AND 1 NIL (FOO))", "nil"}, Row{"(OR)", "nil"}, Row{"(OR NIL 5)", "5"},
        Row{"(OR 1 (UNDEFINED))", "1"}, Row{"(NOT 1 2)", "EvalError: NOT expects one argument"},
        Row{"(null)", "EvalError: NULL expects one argument"}, Row{"(NOT NIL)", "T"},
        Row{"(NULL '())", "nil"}));

INSTANTIATE_TEST_SUITE_P(
    Builtins, LiteralPrograms,
    testing::Values(
        Row{"(+)", "0"}, Row{"(*)", "1"}, Row{"(-)", "EvalError: - expects numbers"},
        Row{"(/)", "EvalError: / expects numbers"}, Row{"(- 5)", "-5"}, Row{"(- 0)", "-0"},
        Row{"(- 10 1 2)", "7"}, Row{"(/ 7 2)", "3.5"},
        Row{"(/ 1 0)", "EvalError: division by zero"},
        Row{"(/ 1 1e-300)", "EvalError: division by zero"}, Row{"(/ 5)", "5"}, Row{"(/ 0 5)", "0"},
        Row{"(+ 1 \"2\")", "EvalError: + expects numbers"},
        Row{"(+ 1 T)", "EvalError: + expects numbers"}, Row{"(+ -0.0)", "0"}, Row{"(* -0.0)", "-0"},
        Row{"(1+ 1 2)", "EvalError: 1+ expects one number"},
        Row{"(1- \"1\")", "EvalError: 1- expects one number"}, Row{"(1+ 1)", "2"},
        Row{"(1- 1)", "0"}, Row{"(LIST)", "()"}, Row{"(CAR NIL)", "nil"}, Row{"(CAR '())", "nil"},
        Row{"(CAR 5)", "nil"}, Row{"(CAR)", "nil"}, Row{"(CAR '(1) 2)", "nil"},
        Row{"(CDR '(1))", "()"}, Row{"(CDR NIL)", "nil"}, Row{"(CONS 1 NIL)", "(1)"},
        Row{"(CONS 1 '(2 3))", "(1 2 3)"}, Row{"(CONS '(1) '(2))", "((1) 2)"},
        Row{"(CONS 1 2)", "(1 2)"}, Row{"(CONS 1)", "EvalError: cons expects two arguments"},
        Row{"(LENGTH NIL)", "EvalError: length expects list"}, Row{"(LENGTH '())", "0"},
        Row{"(EQ '(1 2) '(1 2))", "T"}, Row{"(EQUAL 1 1.0)", "T"}, Row{"(EQUAL \"A\" 'A)", "nil"},
        Row{"(EQ 1)", "EvalError: EQ expects two arguments"},
        Row{"(= 1 1 1)", "EvalError: = expects two numbers"},
        Row{"(< 1 \"2\")", "EvalError: < expects two numbers"}, Row{"(/= 1 2)", "T"},
        Row{"(>= 1 2)", "nil"}, Row{"(<= 2 2)", "T"},
        Row{"(FOO (BAR))", "EvalError: unsupported LISP function: BAR"},
        Row{"(PRINC \"hi\")", "\"hi\""}, Row{"(PRINC)", "nil"}, Row{"(PRIN1 1 2)", "2"},
        Row{"(SSLENGTH)", "EvalError: sslength expects one selection set"},
        Row{"(SSLENGTH 1 2)", "EvalError: sslength expects one selection set"},
        Row{"(SSLENGTH '(1 2))", "EvalError: sslength expects a selection set"},
        Row{"(SSLENGTH '($KVSEL))", "0"}, Row{"(SSNAME '($KVSEL) 0)", "nil"},
        Row{"(SSNAME '($KVSEL \"A\" \"B\") 1)", "\"B\""},
        Row{"(SSNAME '($KVSEL \"A\" \"B\") 2)", "nil"}, Row{"(SSNAME '($KVSEL \"A\") -1)", "nil"},
        Row{"(SSNAME '($KVSEL \"A\") 0.5)", "nil"}, Row{"(SSNAME '($KVSEL \"A\") 1e300)", "nil"},
        Row{"(SSNAME '($KVSEL \"A\") -0.0)", "\"A\""},
        Row{"(SSNAME '($KVSEL \"A\") \"0\")", "EvalError: ssname expects selection set and index"},
        Row{"(SSNAME '(\"$KVSEL\" 1) 0)", "EvalError: ssname expects a selection set"},
        Row{"(DISTANCE '(0 0 0) '(0 0 5))", "0"}, Row{"(DISTANCE '(0 0) '(3 4 x y))", "5"},
        Row{"(DISTANCE '(0 0))", "EvalError: DISTANCE argument count"},
        Row{"(DISTANCE '(0) '(0 0))", "EvalError: DISTANCE expects point list"},
        Row{"(ANGLE '(0 0) '(1 0))", "0"}, Row{"(ANGLE 1 2 3)", "EvalError: ANGLE argument count"},
        Row{"(ANGLE 1 '(0 0))", "EvalError: ANGLE expects point list"},
        Row{"(POLAR '(1 2 x) 0 5)", "(6 2 0)"}, Row{"(POLAR '(1 2 3) 0 5)", "(6 2 3)"},
        Row{"(POLAR)", "EvalError: POLAR argument count"},
        Row{"(POLAR 1 2 3)", "EvalError: POLAR expects point list"},
        Row{"(POLAR '(1 2) T 3)", "EvalError: polar expects point, angle, distance"},
        Row{"(TRANS '(1 2) 0 1)",
            "EvalError: trans requires point, source, target and registered context"}));

INSTANTIATE_TEST_SUITE_P(HostBuiltins, LiteralPrograms,
                         testing::Values(Row{"(getpoint)", "call GETPOINT ()"},
                                         Row{"(COMMAND-S \"A\" '(1 2) nil 4)",
                                             "call COMMAND-S (\"A\" (1 2) nil 4)"},
                                         Row{"(GETPOINT (/ 1 0))", "EvalError: division by zero"},
                                         Row{"(ENTGET (CAR (SSGET)))", "call SSGET ()"},
                                         Row{"(IF nil (GETPOINT) 2)", "2"}));

TEST(LiteralValues, CompareByStructureAndNeverAcrossKinds) {
  EXPECT_FALSE(literalValuesEqual(literalNil(), literalList({})));
  EXPECT_TRUE(literalValuesEqual(literalNumber(2), literalNumber(2.0)));
  EXPECT_FALSE(literalValuesEqual(literalNumber(kNaN), literalNumber(kNaN)));
  EXPECT_TRUE(literalValuesEqual(literalNumber(-0.0), literalNumber(0.0)));
  EXPECT_FALSE(literalValuesEqual(literalString("T"), literalTruth()));
  EXPECT_TRUE(literalValuesEqual(literalList({}), literalList({})));
  const LiteralValue nan_list = literalList({literalNumber(kNaN)});
  EXPECT_FALSE(literalValuesEqual(nan_list, nan_list));
}

TEST(LiteralValues, AreTrueButForNil) {
  EXPECT_FALSE(literalIsTrue(literalNil()));
  EXPECT_TRUE(literalIsTrue(literalList({})));
  EXPECT_TRUE(literalIsTrue(literalNumber(0)));
  EXPECT_TRUE(literalIsTrue(literalString("")));
  EXPECT_TRUE(literalIsTrue(literalSymbol("NIL")));
}

TEST(LiteralValues, TellNumberListsAndSelectionSets) {
  EXPECT_TRUE(literalIsNumberList(literalList({})));
  EXPECT_TRUE(literalIsNumberList(literalList({literalNumber(1)})));
  EXPECT_FALSE(literalIsNumberList(literalList({literalNil()})));
  EXPECT_FALSE(literalIsNumberList(literalNil()));
  EXPECT_TRUE(literalIsSelectionSet(literalList({literalSymbol("$KVSEL")})));
  EXPECT_FALSE(literalIsSelectionSet(literalList({literalSymbol("$KVSEL2")})));
  EXPECT_FALSE(literalIsSelectionSet(literalList({literalSymbol("$kVSEL")})));
  EXPECT_FALSE(literalIsSelectionSet(literalList({literalString("$KVSEL")})));
  EXPECT_FALSE(literalIsSelectionSet(literalList({})));
  EXPECT_FALSE(literalIsSelectionSet(literalSymbol("$KVSEL")));
}

// The text form of the one form of `text`, or the reader's message after "!".
std::string readBack(const std::string& text) {
  std::string error = "untouched";
  const std::optional<LiteralValue> value = literalParseSingle(text, &error);
  if (!value.has_value()) return "!" + error;
  EXPECT_EQ(error, "");
  return literalEncodeValue(*value);
}

TEST(LiteralReader, ReadsWhatItShould) {
  const struct {
    std::string text;
    std::string expected;
  } kRows[] = {
      {"", "!expected exactly one form"},
      {"   ; only a comment", "!expected exactly one form"},
      {"1 2", "!expected exactly one form"},
      {"(A) (B", "!unterminated list"},
      {"(A) )", "!unexpected ')'"},
      {"'", "!unexpected end of input"},
      {"' ; x", "!unexpected end of input"},
      {"()", "()"},
      {"nil", "nil"},
      {"NIL", "nil"},
      {"Nil", "nil"},
      {"'()", "(QUOTE ())"},
      {"''A", "(QUOTE (QUOTE A))"},
      {R"("a\qb")", R"("aqb")"},
      {R"("a\"b")", R"("a"b")"},
      {R"("a\n\r\t\\")", "\"a\n\r\t\\\""},
      {"\"abc\\", "!unterminated string"},
      {"\"abc", "!unterminated string"},
      {"\"abc\\\"", "!unterminated string"},
      {"1e3", "1000"},
      {"1E3", "1000"},
      {"1e999", "1E999"},
      {"-1e999", "-1E999"},
      {".5", "0.5"},
      {"1.", "1"},
      {"1+", "1+"},
      {"+5", "5"},
      {"-0.5", "-0.5"},
      {"-", "-"},
      {"/=", "/="},
      {"0x1F", "31"},
      {"0x1p4", "16"},
      {"0x", "0X"},
      {"inf", "INF"},
      {"nan", "NAN"},
      {"1d5", "1D5"},
      {"1e-999", "0"},
      {"-1e-999", "-0"},
      {"abc\"def\"", "!expected exactly one form"},
      {"a'b", "!expected exactly one form"},
      {"(a'b\"c\"(d);e\n)", "(A (QUOTE B) \"c\" (D))"},
      {"(A)\x1a", "(A)"},
      {"a\x1a", "A\x1a"},
      {std::string("5\0", 2), std::string("5\0", 2)},
      {"(a . b)", "(A . B)"},
      {"\xe4z", "\xe4Z"},
      {"\v\f\r(A\v)", "(A)"},
  };
  for (const auto& row : kRows) EXPECT_EQ(readBack(row.text), row.expected) << row.text;
}

std::string nested(int count, const std::string& open, const std::string& inside,
                   const std::string& close) {
  std::string text;
  for (int i = 0; i < count; ++i) text += open;
  text += inside;
  for (int i = 0; i < count; ++i) text += close;
  return text;
}

TEST(LiteralReader, NestsTo512) {
  EXPECT_EQ(readBack(nested(513, "(", "", ")")), nested(513, "(", "", ")"));
  EXPECT_EQ(readBack(nested(514, "(", "", ")")), "!parser nesting limit exceeded");
  EXPECT_EQ(readBack(nested(513, "(", "1", ")")), "!parser nesting limit exceeded");
  EXPECT_EQ(readBack(nested(512, "'", "1", "")), nested(512, "(QUOTE ", "1", ")"));
  EXPECT_EQ(readBack(nested(513, "'", "1", "")), "!parser nesting limit exceeded");
  EXPECT_EQ(readBack(nested(513, "'", "", "")), "!parser nesting limit exceeded");
  EXPECT_EQ(readBack(nested(512, "'", "", "")), "!unexpected end of input");
  EXPECT_EQ(readBack(nested(513, "(", "", "")), "!unterminated list");
}

TEST(LiteralEncoder, WritesNumbersWithSeventeenDigits) {
  EXPECT_EQ(literalEncodeValue(literalNumber(3.0)), "3");
  EXPECT_EQ(literalEncodeValue(literalNumber(0.1)), "0.10000000000000001");
  EXPECT_EQ(literalEncodeValue(literalNumber(1e20)), "1e+20");
  EXPECT_EQ(literalEncodeValue(literalNumber(-0.0)), "-0");
  EXPECT_EQ(literalEncodeValue(literalNumber(std::copysign(kNaN, 1.0))), "nan");
  EXPECT_EQ(literalEncodeValue(literalNumber(std::copysign(kNaN, -1.0))), "-nan");
  EXPECT_EQ(literalEncodeValue(literalNumber(-std::numeric_limits<double>::infinity())), "-inf");
}

TEST(LiteralEncoder, CutsNamesAndRefusesLongTexts) {
  LiteralOutcome outcome;
  outcome.kind = LiteralOutcomeKind::HostCallRequired;
  outcome.host_call = LiteralHostCall{std::string(40, 'N'), {}};
  const EvalResult result = decodeEvalResult(literalEncodeResponse(outcome, 7).payload);
  EXPECT_EQ(result.call_name, std::string(31, 'N'));
  EXPECT_EQ(result.text, "()");
  EXPECT_EQ(result.run_id, 7u);

  LiteralOutcome text;
  text.value = literalString(std::string(0x100000 - 64 - 2, 'x'));
  EXPECT_EQ(literalEncodeResponse(text, 0).payload.size(), 0x100000u);
  text.value = literalString(std::string(0x100000 - 64 - 1, 'x'));
  EXPECT_EQ(literalEncodeResponse(text, 0).payload, "");
  EXPECT_EQ(literalEncodeResponse(text, 0).status, WorkerStatus::InvalidRequest);
}

TEST(LiteralEncoder, CapsTheArgumentCount) {
  LiteralOutcome outcome;
  outcome.kind = LiteralOutcomeKind::HostCallRequired;
  outcome.host_call = LiteralHostCall{"SSGET", std::vector<LiteralValue>(65536)};
  EXPECT_EQ(decodeEvalResult(literalEncodeResponse(outcome, 1).payload).argument_count, 65535);
}

TEST(LiteralLimits, CountEveryEvaluation) {
  EXPECT_EQ(stepsOf("(+ 1 2)"), 3u);
  EXPECT_EQ(stepsOf("5"), 1u);
  EXPECT_EQ(stepsOf("'A"), 1u);
  EXPECT_EQ(stepsOf(""), 0u);
  EXPECT_EQ(stepsOf("1 2 ()"), 3u);
  EXPECT_EQ(stepsOf("(DEFUN F (A) A) (F 1)"), 4u);
  EXPECT_EQ(stepsOf("(FOO 1 2)"), 3u);
  EXPECT_EQ(stepsOf("(LIST 1"), 0u);
}

TEST(LiteralLimits, StopTheStepAfterTheLast) {
  // 6 steps for each pass, 3 for the last condition, 1 for the WHILE, 2 for the first SETQ.
  const std::string loop = "(SETQ I 0) (WHILE (< I 41665) (SETQ I (1+ I))) ";
  EXPECT_EQ(stepsOf(loop), 249996u);
  EXPECT_EQ(answerTo(loop + "1 2 3 4"), "4");
  EXPECT_EQ(stepsOf(loop + "1 2 3 4"), 250000u);
  EXPECT_EQ(answerTo(loop + "1 2 3 4 5"), "StepLimit: LISP evaluation step limit exceeded");
  EXPECT_EQ(stepsOf(loop + "1 2 3 4 5"), 250001u);
}

TEST(LiteralLimits, StopTheDepthAfterTheLast) {
  EXPECT_EQ(answerTo(nested(128, "(PROGN ", "1", ")")), "1");
  EXPECT_EQ(answerTo(nested(129, "(PROGN ", "1", ")")),
            "EvalError: LISP evaluation depth exceeded");
  EXPECT_EQ(answerTo(nested(129, "(PROGN ", "", ")")), "nil");
  EXPECT_EQ(answerTo("'" + nested(300, "(", "", ")")), nested(300, "(", "", ")"));
  // Two levels for each call: the call and the IF.
  const std::string count = "(DEFUN F (N) (IF (< N 1) 0 (F (1- N)))) ";
  EXPECT_EQ(answerTo(count + "(F 62)"), "0");
  EXPECT_EQ(answerTo(count + "(F 63)"), "EvalError: LISP evaluation depth exceeded");
}

TEST(LiteralLimits, ReportStepsBeforeDepth) {
  LiteralLimits limits;
  limits.steps_max = 4;
  limits.depth_max = 2;
  const std::string program = nested(3, "(PROGN ", "1", ")");
  LiteralWorker worker(limits);
  EXPECT_EQ(shown(worker.handle(startFrame(program))), "EvalError: LISP evaluation depth exceeded");
  EXPECT_EQ(shown(worker.handle(startFrame("0 " + program))),
            "StepLimit: LISP evaluation step limit exceeded");
}

TEST(LiteralLimits, AbandonWhatCopiesTooMuch) {
  LiteralWorker worker;
  worker.handle(
      startFrame("(SETQ X (LIST 1) I 0)"
                 "(WHILE (< I 40) (SETQ X (LIST X X) I (1+ I)))"));
  EXPECT_TRUE(worker.abandoned());
}

TEST(LiteralRuns, NumberThemselvesFromOne) {
  LiteralWorker worker;
  EXPECT_EQ(decodeEvalResult(worker.handle(startFrame("(GETPOINT)")).payload).run_id, 1u);
  EXPECT_EQ(worker.handle(cancelFrame(1)).status, WorkerStatus::Ok);
  EXPECT_EQ(worker.handle(cancelFrame(99)).status, WorkerStatus::Ok);
  EXPECT_EQ(decodeEvalResult(worker.handle(startFrame("(GETPOINT)")).payload).run_id, 2u);
  EXPECT_EQ(worker.handle(resumeFrame(0, "1")).status, WorkerStatus::InvalidRequest);
  EXPECT_EQ(worker.handle(resumeFrame(1, "1")).status, WorkerStatus::InvalidRequest);
  EXPECT_EQ(shown(worker.handle(resumeFrame(2, "nil"))), "nil");
}

TEST(LiteralRuns, ReplayTheirAnswersInOrder) {
  LiteralWorker worker;
  EXPECT_EQ(shown(worker.handle(startFrame("(LIST (GETPOINT) (ENTGET (CAR (SSGET 'A))))"))),
            "call GETPOINT ()");
  EXPECT_EQ(shown(worker.handle(resumeFrame(1, "(1 2)"))), "call SSGET (A)");
  EXPECT_EQ(shown(worker.handle(resumeFrame(1, "(B C)"))), "call ENTGET (B)");
  EXPECT_EQ(shown(worker.handle(resumeFrame(1, "unbound"))), "((1 2) UNBOUND)");
  EXPECT_EQ(worker.handle(resumeFrame(1, "1")).status, WorkerStatus::InvalidRequest);
}

TEST(LiteralRuns, EndAtAnAnswerThatCannotBeRead) {
  LiteralWorker worker;
  for (std::uint64_t run_id = 1; run_id <= 2; ++run_id) worker.handle(startFrame("(GETPOINT)"));
  EXPECT_EQ(shown(worker.handle(resumeFrame(1, ""))),
            "ReadError: host response parse error: expected exactly one form");
  EXPECT_EQ(shown(worker.handle(resumeFrame(2, "(1"))),
            "ReadError: host response parse error: unterminated list");
  EXPECT_EQ(worker.handle(resumeFrame(1, "1")).status, WorkerStatus::InvalidRequest);
}

TEST(LiteralRuns, DivergeOverNaN) {
  LiteralWorker worker;
  EXPECT_EQ(shown(worker.handle(startFrame("(SETQ H (* 1e300 1e300)) (GETPOINT (- H H))"))),
            "call GETPOINT (-nan)");
  EXPECT_EQ(shown(worker.handle(resumeFrame(1, "1"))),
            "EvalError: LISP host replay divergence at call 1: GETPOINT");
}

TEST(LiteralRuns, SeeAReplacedContext) {
  LiteralWorker worker;
  EXPECT_EQ(worker.handle(startFrame("1", 7)).status, WorkerStatus::ContextNotFound);
  std::string record = identityContextRecord(7);
  EXPECT_EQ(worker.handle(registerFrame(8, record)).status, WorkerStatus::InvalidRequest);
  EXPECT_EQ(worker.handle(registerFrame(7, record)).status, WorkerStatus::Ok);
  EXPECT_EQ(shown(worker.handle(startFrame("(TRANS '(1 2) 0.9 -0.5)", 7))), "(1 2 0)");
  EXPECT_EQ(shown(worker.handle(startFrame("(GETPOINT) (ENTGET (TRANS '(1 2) 1 0))", 7))),
            "call GETPOINT ()");
  EXPECT_EQ(shown(worker.handle(resumeFrame(1, "1"))), "call ENTGET ((1 2 0))");
  setSystem(record, 1, {10, 20, 2, 0, 0, 4, 1, 5});
  EXPECT_EQ(worker.handle(registerFrame(7, record)).status, WorkerStatus::Ok);
  EXPECT_EQ(shown(worker.handle(startFrame("(TRANS '(1 2) 1.9 0)", 7))), "(12 28 5)");
  EXPECT_EQ(shown(worker.handle(startFrame("(TRANS '(12 28 5) 0 1)", 7))), "(1 2 0)");
  EXPECT_EQ(shown(worker.handle(resumeFrame(1, "1"))),
            "EvalError: LISP host replay divergence at call 2: ENTGET");
  EXPECT_EQ(shown(worker.handle(startFrame("(TRANS '(1 2) 5 0)", 7))),
            "EvalError: trans coordinate arguments invalid");
  setSystem(record, 2, {0, 0, 0, 0, 0, 0, 1, 0});
  EXPECT_EQ(worker.handle(registerFrame(7, record)).status, WorkerStatus::Ok);
  EXPECT_EQ(shown(worker.handle(startFrame("(TRANS '(1 2) 0 2)", 7))),
            "EvalError: trans transform is singular");
  EXPECT_EQ(shown(worker.handle(startFrame("(TRANS '(1 2) 2 0)", 7))), "(0 0 0)");
}

TEST(LiteralRuns, ReportAnswersLeftOver) {
  LiteralWorker worker;
  std::string record = identityContextRecord(7);
  worker.handle(registerFrame(7, record));
  const std::string program = "(IF (= 1 (CAR (TRANS '(1 2) 1 0))) (GETPOINT))";
  EXPECT_EQ(shown(worker.handle(startFrame(program, 7))), "call GETPOINT ()");
  setSystem(record, 1, {10, 0, 1, 0, 0, 1, 1, 0});
  worker.handle(registerFrame(7, record));
  EXPECT_EQ(shown(worker.handle(resumeFrame(1, "1"))),
            "EvalError: LISP host replay transcript has unused answers");
}

TEST(LiteralRuns, CommitOnlyWhatEndsInAValue) {
  LiteralWorker worker;
  EXPECT_EQ(shown(worker.handle(startFrame("(SETQ A 1) (DEFUN F () 5)"))), "F");
  EXPECT_EQ(shown(worker.handle(startFrame("(SETQ A 2) (DEFUN G () 6) (FOO)"))),
            "EvalError: unsupported LISP function: FOO");
  EXPECT_EQ(shown(worker.handle(startFrame("(LIST A (F))"))), "(1 5)");
  EXPECT_EQ(shown(worker.handle(startFrame("(G)"))), "EvalError: unsupported LISP function: G");
  EXPECT_EQ(shown(worker.handle(startFrame("(SETQ A 3) (GETPOINT)"))), "call GETPOINT ()");
  EXPECT_EQ(shown(worker.handle(startFrame("(SETQ B A)"))), "1");
  EXPECT_EQ(shown(worker.handle(resumeFrame(1, "9"))), "9");
  EXPECT_EQ(shown(worker.handle(startFrame("A"))), "3");
  EXPECT_EQ(shown(worker.handle(startFrame("B"))), "EvalError: unbound symbol: B");
}

TEST(LiteralRuns, CommitBeforeTheResponseIsFoundTooLong) {
  LiteralWorker worker;
  const std::string text(0x100000 - 20, 'x');
  EXPECT_EQ(worker.handle(startFrame("(SETQ A \"" + text + "\")")).status,
            WorkerStatus::InvalidRequest);
  EXPECT_EQ(shown(worker.handle(startFrame("(EQ A A)"))), "T");
  EXPECT_EQ(worker.handle(startFrame("(GETPOINT A)")).status, WorkerStatus::InvalidRequest);
  EXPECT_EQ(shown(worker.handle(resumeFrame(1, "8"))), "8");
}

}  // namespace
}  // namespace lisp_worker::testing_support
