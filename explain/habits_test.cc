#include "explain/habits.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <string>
#include <string_view>
#include <vector>

#include "explain/evaluation.h"
#include "explain/explanation.h"
#include "explain/value_text.h"

namespace explain {
namespace {

using testing::HasSubstr;
using testing::Not;

constexpr std::string_view kBefore = "(SETQ L '(1 2 3) LL '((1 2) (3 4)) N 2 P '(0 0)) ";

Outcome outcomeOf(const std::string& text) {
  Definitions definitions;
  std::vector<AnsweredCall> answers;
  return evaluate(readProgram("p.lsp", text), definitions, answers, nullptr);
}

// A habit, what stands after "write" in its advice, and what that evaluates to.
struct Row {
  const char* program;
  const char* instead;
  const char* result;
  const char* words = "";  // After the text.
};

constexpr const char* kInLists =
    "; or put ;@ load examples/lib/lists.lsp above the program, which defines it";
constexpr const char* kNumberText =
    "; COMMAND \"TEXT\" takes a number as its text; texts cannot be joined";
constexpr const char* kNoOutput = "; programs have no output; its value is what it was given";
constexpr const char* kLocals =
    "; in a function, make the variables its locals: (DEFUN F (... / A B) ...)";

constexpr std::array kRows = {
    Row{"(ABS -5)", "(IF (< -5 0) (- -5) -5)", "5", kInLists},
    Row{"(ABS (- N 5))", "(IF (< (- N 5) 0) (- (- N 5)) (- N 5))", "3", kInLists},
    Row{"(MIN 2 3)", "(IF (< 3 2) 3 2)", "2", kInLists},
    Row{"(MAX 2 3)", "(IF (> 3 2) 3 2)", "3", kInLists},
    Row{"(ZEROP N)", "(= N 0)", "nil"},
    Row{"(MINUSP N)", "(< N 0)", "nil"},
    Row{"(PLUSP N)", "(> N 0)", "T"},
    Row{"(INCF N)", "(SETQ N (1+ N))", "3"},
    Row{"(DECF N)", "(SETQ N (1- N))", "1"},
    Row{"(FLOAT 3)", "3", "3", "; every number has a fraction"},
    Row{"(MOD 7 3)", "(PROGN (SETQ R 7) (WHILE (>= R 3) (SETQ R (- R 3))) R)", "1",
        "; for A of 0 and more"},
    Row{"(REM 7 3)", "(PROGN (SETQ R 7) (WHILE (>= R 3) (SETQ R (- R 3))) R)", "1",
        "; for A of 0 and more"},
    Row{"(FIX 7.6)", "(PROGN (SETQ R 0) (WHILE (<= (1+ R) 7.6) (SETQ R (1+ R))) R)", "7",
        "; for X of 0 and more"},
    Row{"(FLOOR 7)", "(PROGN (SETQ R 0) (WHILE (<= (1+ R) 7) (SETQ R (1+ R))) R)", "7",
        "; for X of 0 and more"},
    Row{"(ROUND 7.5)", "(PROGN (SETQ R 0) (WHILE (<= (+ R 0.5) 7.5) (SETQ R (1+ R))) R)", "8",
        "; for X of 0 and more"},
    Row{"(ITOA N)", "N", "2", kNumberText},
    Row{"(RTOS (/ 5 N) 2 1)", "(/ 5 N)", "2.5", kNumberText},
    Row{"(ENTLAST)", "(SSNAME (SSGET \"L\") 0)", ""},
    Row{"(ENTSEL \"Which?\")", "(SSNAME (SSGET) 0)", "", "; SSGET lets the user select"},
    Row{"(ENTDEL \"E7\")", "(COMMAND \"ERASE\" \"E7\" \"\")", ""},
    Row{"(LOAD \"lib.lsp\")",
        ";@ load lib.lsp in a line of its own, above the program, in the place of this; or run it "
        "with --load lib.lsp",
        ""},
    Row{"(REPEAT 3 (SETQ I2 0 I (* 2 N)) (SETQ N (+ I I2)))",
        "(SETQ I22 0) (WHILE (< I22 3) (SETQ I2 0 I (* 2 N)) (SETQ N (+ I I2)) (SETQ I22 (1+ "
        "I22)))",
        "3"},
    Row{"(REPEAT 2 (SETQ I (* 2 N)) (SETQ N I))",
        "(SETQ I2 0) (WHILE (< I2 2) (SETQ I (* 2 N)) (SETQ N I) (SETQ I2 (1+ I2)))", "2"},
    Row{"(SIN 0)", "(CAR (CDR (POLAR '(0 0) 0 1)))", "0"},
    Row{"(COS 0)", "(CAR (POLAR '(0 0) 0 1))", "1"},
    Row{"(TAN 0)", "(/ (CAR (CDR (POLAR '(0 0) 0 1))) (CAR (POLAR '(0 0) 0 1)))", "0"},
    Row{"(ATAN 0 5)", "(ANGLE '(0 0) (LIST 5 0))", "0"},
    Row{"(EQL N 2)", "(EQUAL N 2)", "T"},
    Row{"(EQUALP N 2)", "(EQUAL N 2)", "T"},
    Row{"(STRING= \"a b\" \"a b\")", "(EQUAL \"a b\" \"a b\")", "T"},
    Row{"(== N 2)", "(EQUAL N 2)", "T"},
    Row{"(!= N 2)", "(/= N 2)", "nil", "; (NOT (EQUAL A B)) for what is not a number"},
    Row{"(<> N 2)", "(/= N 2)", "nil", "; (NOT (EQUAL A B)) for what is not a number"},
    Row{"(FIRST L)", "(CAR L)", "1"},
    Row{"(REST L)", "(CDR L)", "(2 3)"},
    Row{"(SECOND L)", "(CAR (CDR L))", "2"},
    Row{"(THIRD L)", "(CAR (CDR (CDR L)))", "3"},
    Row{"(CADR L)", "(CAR (CDR L))", "2", kInLists},
    Row{"(CADDR L)", "(CAR (CDR (CDR L)))", "3", kInLists},
    Row{"(CDDR L)", "(CDR (CDR L))", "(3)"},
    Row{"(CAAR LL)", "(CAR (CAR LL))", "1"},
    Row{"(CDAR LL)", "(CDR (CAR LL))", "(2)"},
    Row{"(CADAR LL)", "(CAR (CDR (CAR LL)))", "2"},
    Row{"(PUSH 0 L)", "(SETQ L (CONS 0 L))", "(0 1 2 3)"},
    Row{"(POP L)", "(SETQ L (CDR L))", "(2 3)", "; (CAR L) before it is what is taken off"},
    Row{"(VECTOR 1 2)", "(LIST 1 2)", "(1 2)"},
    Row{"(SET 'N 5)", "(SETQ N 5)", "5"},
    Row{"(SETF N 5)", "(SETQ N 5)", "5"},
    Row{"(DEFVAR SIZE 5)", "(SETQ SIZE 5)", "5"},
    Row{"(DEFPARAMETER SIZE 5)", "(SETQ SIZE 5)", "5"},
    Row{"(DEFINE (TWICE X) (* 2 X))", "(DEFUN TWICE (X) (* 2 X))", "TWICE"},
    Row{"(DEFINE SIZE 5)", "(SETQ SIZE 5)", "5"},
    Row{"(LET ((A 1) B) (LIST A B))", "(SETQ A 1 B nil) (LIST A B)", "(1 nil)", kLocals},
    Row{"(LET* ((A 1)) A A)", "(SETQ A 1) A A", "1", kLocals},
    Row{"(FUNCALL 'LIST 1 2)", "(LIST 1 2)", "(1 2)"},
    Row{"(FUNCALL #'LIST 1)", "", ""},  // Read as three forms: the name # is unbound.
    Row{"(COND ((> N 3) 5) ((= N 2) \"two\" \"2\") (T 6))",
        "(IF (> N 3) 5 (IF (= N 2) (PROGN \"two\" \"2\") 6))", "\"2\""},
    Row{"(COND ((> N 3) 5) (N))", "(IF (> N 3) 5 N)", "2"},
    Row{"(COND ((CAR '())) (ELSE 7))", "(OR (CAR '()) 7)", "7"},
    Row{"(CASE N (1 \"one\") ((2 3) \"some\") (OTHERWISE \"many\"))",
        "(IF (EQUAL N 1) \"one\" (IF (OR (EQUAL N 2) (EQUAL N 3)) \"some\" \"many\"))", "\"some\""},
    Row{"(CASE 'A (A 1))", "(IF (EQUAL 'A 'A) 1)", "1"},
    Row{"(WHEN (= N 2) 5 6)", "(IF (= N 2) (PROGN 5 6))", "6"},
    Row{"(UNLESS (= N 2) 5 6)", "(IF (= N 2) nil (PROGN 5 6))", "nil"},
    Row{"(BEGIN 1 2)", "(PROGN 1 2)", "2"},
    Row{"(FOREACH X L (SETQ N (+ N X)))",
        "(SETQ ITEMS L) (WHILE (> (LENGTH ITEMS) 0) (SETQ X (CAR ITEMS) ITEMS (CDR ITEMS)) "
        "(SETQ N (+ N X)))",
        "8"},
    Row{"(DOLIST (X L) (SETQ N (+ N X)))",
        "(SETQ ITEMS L) (WHILE (> (LENGTH ITEMS) 0) (SETQ X (CAR ITEMS) ITEMS (CDR ITEMS)) "
        "(SETQ N (+ N X)))",
        "8"},
    Row{"(DOTIMES (I 4) (SETQ N (* 2 N)))",
        "(SETQ I 0) (WHILE (< I 4) (SETQ N (* 2 N)) (SETQ I (1+ I)))", "4"},
    Row{"(REPEAT 4 (SETQ N (* 2 N)))",
        "(SETQ I 0) (WHILE (< I 4) (SETQ N (* 2 N)) (SETQ I (1+ I)))", "4"},
    Row{"(FOR I 4 (SETQ N (* 2 N)))", "(SETQ I 0) (WHILE (< I 4) (SETQ N (* 2 N)) (SETQ I (1+ I)))",
        "4"},
    Row{"(PRINT N)", "(PRINC N)", "2", kNoOutput},
    Row{"(WRITE N)", "(PRINC N)", "2", kNoOutput},
    Row{"(DISPLAY N)", "(PRINC N)", "2", kNoOutput},
    // Notations.
    Row{"(SETQ A 10,20,5)", "'(10 20 5)", "(10 20 5)"},
    Row{"(SETQ A -1.5,2)", "'(-1.5 2)", "(-1.5 2)"},
    Row{"(+ 1 3/4)", "(/ 3 4)", "0.75"},
    Row{"(+ 1 50%)", "(/ 50 100)", "0.5"},
    Row{"(POLAR P 0d 5)", "(* 0 0.017453292519943295)", "0", ": angles are in radians"},
    Row{"(POLAR P 0\xC2\xB0 5)", "(* 0 0.017453292519943295)", "0", ": angles are in radians"},
    Row{"(* 2 25.5mm)", "25.5", "25.5", ": numbers have no units; the drawing's is meant"},
    Row{"(LIST \xE2\x80\x9Ctwo words\xE2\x80\x9D)", "\"two words\"", "\"two words\"",
        ", with straight quotes"},
    Row{"(LIST \xE2\x80\x9Etwo words\xE2\x80\x9C)", "\"two words\"", "\"two words\"",
        ", with straight quotes"},
    Row{"(LIST \xC2\xABtwo words\xC2\xBB)", "\"two words\"", "\"two words\"",
        ", with straight quotes"},
    Row{"(LIST \xE2\x80\x98N)", "'N", "N", ", with a straight apostrophe"},
    Row{"(LIST \xE2\x80\x99N)", "'N", "N", ", with a straight apostrophe"},
    Row{"(LIST \xC2\xB4N)", "'N", "N", ", with a straight apostrophe"},
    Row{"(* 2 PI)", "3.141592653589793", "3.141592653589793",
        ", or assign it once: (SETQ PI 3.141592653589793)"},
    Row{"(IF TRUE 1 2)", "T", "T"},
    Row{"(IF #t 1 2)", "T", "T"},
    Row{"(IF FALSE 1 2)", "nil", "nil"},
    Row{"(IF #f 1 2)", "nil", "nil"},
    Row{"(LIST NULL)", "nil", "nil", "; (NULL X) asks for it"},
    Row{"(LIST #\\A)", "\"A\"", "\"A\"", ": a character is a text"},
    Row{"(LIST :left)", "'left", "LEFT", ": a name that is not evaluated"},
    Row{"(LIST N=5)", "(SETQ N 5)", "5"},
    Row{"(LIST N:=5)", "(SETQ N 5)", "5"},
    Row{"(1 + 2)", "(+ 1 2)", "3", ": the function comes first"},
    Row{"(N * 3 * 4)", "(* N 3 4)", "24", ": the function comes first"},
    Row{"(N = 2)", "(= N 2)", "T", " to compare, (SETQ N 2) to assign"},
    Row{"(IF (= N 2) 5 ELSE 6)", "(IF (= N 2) 5 6)", "5"},
    Row{"(IF (= N 2) THEN 5 ELSE 6)", "(IF (= N 2) 5 6)", "5"},
    Row{"(IF (= N 2) 5 6 7)", "(IF (= N 2) (PROGN 5 6 7))", "7",
        " when all are one branch: several forms of a branch are put into a PROGN"},
    Row{"(DEFUN (TWICE X) (* 2 X))", "(DEFUN TWICE (X) (* 2 X))", "TWICE"},
    Row{"\nSETQ A 5", "(SETQ A 5)", "5", ": a call stands in parentheses, its name included"},
    Row{"\nA = 5", "(SETQ A 5)", "5"},
    Row{"\nA := 5", "(SETQ A 5)", "5"},
    Row{"\nCIRCLE 5,5 3", "(COMMAND \"CIRCLE\" '(5 5) 3)", "",
        "; \"\" at its end is the Enter key"},
    Row{"\nLINE 0,0 10,10 c", "(COMMAND \"LINE\" '(0 0) '(10 10) \"c\")", "",
        "; \"\" at its end is the Enter key"},
};

// A habit without a text to write instead, and the advice on it.
struct WordsRow {
  const char* program;
  const char* advice;
};

constexpr const char* kNoTexts =
    "there are no functions over texts: keep what you need as a list of numbers or whole texts";
constexpr const char* kNoExit =
    "a program ends with its last form: put what may be left out into an IF";
constexpr const char* kNoSettings = "there are no settings to ask for or to change: leave it out";
constexpr const char* kNoPrompt =
    "programs have no output: leave it out, or put it into the question of a GETPOINT";
constexpr const char* kNoSet =
    "SSGET alone makes selection sets: keep the handles in a list, COMMAND takes them one by one";
constexpr const char* kNoKinds =
    "no function tells the kind of a value: the program knows what it has put where";
constexpr const char* kOnlyLists =
    "put ;@ load examples/lib/lists.lsp above the program, which defines it";
constexpr const char* kComment = "begin each line of a comment with a semicolon";
constexpr const char* kParentheses = "lists stand between ( and )";
constexpr const char* kIf = "it is not written: (IF CONDITION THEN ELSE) has both in this order";

constexpr std::array kWordsRows = {
    WordsRow{"(SETQ A 1,5)", "write 1.5 for a number with a fraction, '(1 5) for a point"},
    WordsRow{"(SQRT 4)", "there is none; (DISTANCE '(0 0) (LIST A B)) is the root of A*A + B*B"},
    WordsRow{"(EXPT 2 3)", "multiply in a WHILE; (* X X) is the square"},
    WordsRow{"(NTH 0 L)", kOnlyLists},
    WordsRow{"(REVERSE L)", kOnlyLists},
    WordsRow{"(MEMBER 1 L)", kOnlyLists},
    WordsRow{"(ASSOC 1 LL)", kOnlyLists},
    WordsRow{
        "(APPEND L L)",
        "put ;@ load examples/lib/lists.lsp above the program, which defines it for two lists"},
    WordsRow{"(LAST L)", "walk to it in a WHILE, with CAR and CDR"},
    WordsRow{"(ATOM N)", kNoKinds},
    WordsRow{"(LISTP N)", kNoKinds},
    WordsRow{"(NUMBERP N)", kNoKinds},
    WordsRow{"(STRINGP N)", kNoKinds},
    WordsRow{"(SYMBOLP N)", kNoKinds},
    WordsRow{"(CONSP N)", kNoKinds},
    WordsRow{"(LAMBDA (X) X)", "define a function with DEFUN, and call it by its name"},
    WordsRow{"(APPLY '+ L)", "call the function by its name, and write each argument"},
    WordsRow{"(EVAL '(+ 1 2))", "write the form itself where it is to be evaluated"},
    WordsRow{"(MAPCAR '1+ L)", "walk the list in a WHILE, with CAR and CDR"},
    WordsRow{"(MAPC '1+ L)", "walk the list in a WHILE, with CAR and CDR"},
    WordsRow{"(LOAD N)", "a line ;@ load FILE above the program, or --load FILE, loads a library"},
    WordsRow{"(EXIT)", kNoExit},
    WordsRow{"(QUIT)", kNoExit},
    WordsRow{"(GETVAR \"OSMODE\")", kNoSettings},
    WordsRow{"(SETVAR \"OSMODE\" 0)", kNoSettings},
    WordsRow{"(ATOI \"5\")", kNoTexts},
    WordsRow{"(ATOF \"5\")", kNoTexts},
    WordsRow{"(STRLEN \"abc\")", kNoTexts},
    WordsRow{"(STRCASE \"abc\")", kNoTexts},
    WordsRow{"(PROMPT \"abc\")", kNoPrompt},
    WordsRow{"(ALERT \"abc\")", kNoPrompt},
    WordsRow{"(GETKWORD \"abc\")", "no host call asks for a word: write it in the program"},
    WordsRow{"(INITGET 1)", "leave it out, and ask what the answer is: nil is no point"},
    WordsRow{"(ENTNEXT)", "SSGET \"X\" finds all entities; SSNAME takes one after the other"},
    WordsRow{"(SUBST '(8 \"A\") '(8 \"B\") LL)",
             "ENTMOD changes the groups that it gets and keeps the others: "
             "(ENTMOD (LIST (LIST -1 HANDLE) '(8 \"WALLS\")))"},
    WordsRow{"(SSADD N)", kNoSet},
    WordsRow{"(SSDEL N)", kNoSet},
    WordsRow{"(command circle P 5)", "the name of a command is a text: write \"circle\""},
    WordsRow{"(DEFUN SQ (T) (* T T)) (SQ 5)",
             "T is always T: give a variable or a parameter another name"},
    WordsRow{"(LIST \"3/4\" BOLT\" \")",
             "a double quote inside a text is written \\\": \"3/4\\\" BOLT\""},
    WordsRow{"(LIST \"3/4\" HEX BOLT\" \")",
             "a double quote inside a text is written \\\": \"3/4\\\" HEX BOLT\""},
    WordsRow{"(DO ((I 0 (1+ I))) ((> I 5)) I)",
             "count in a WHILE: (SETQ I 0) (WHILE (< I N) ... (SETQ I (1+ I)))"},
    WordsRow{"(RETURN N)",
             "the last form of a function is its value; end a WHILE by its condition"},
    WordsRow{"(STRCAT \"a\" \"b\")", kNoTexts},
    WordsRow{"(SUBSTR \"abc\" 2)", kNoTexts},
    WordsRow{"(CONCAT \"a\" \"b\")", kNoTexts},
    WordsRow{"(FORMAT \"a\")", kNoTexts},
    WordsRow{"(TERPRI)", "programs have no output; its value is what it was given"},
    WordsRow{"(GETSTRING \"Name: \")", "no host call asks for a text: write it in the program"},
    WordsRow{"(GETREAL \"Size: \")",
             "write (GETDIST \"Size: \"); it asks for a number by two points or by typing"},
    WordsRow{"(GETINT)", "write (GETDIST); it asks for a number by two points or by typing"},
    WordsRow{"(GETANGLE P)", "write (ANGLE P (GETPOINT P))"},
    WordsRow{"(LOOP 1)", "write (WHILE T 1); with a condition that becomes nil in the place of T"},
    WordsRow{"\n#| words |#", kComment},
    WordsRow{"\n// words", kComment},
    WordsRow{"\n/* words */", kComment},
    WordsRow{"|#", kComment},
    WordsRow{"# words", "write '(...) for a list of constants, ; for a comment"},
    WordsRow{"(LIST #(1 2))", "write '(...) for a list of constants, ; for a comment"},
    WordsRow{"(LIST #'CAR)", "write 'CAR: a function is called by its name"},
    WordsRow{"`(A ,N)", "make the list of its items: (LIST 'A B) for `(A ,B)"},
    WordsRow{"[LIST 1 2]", kParentheses},
    WordsRow{"(LIST N] )", kParentheses},
    WordsRow{"{", kParentheses},
    WordsRow{"}", kParentheses},
    WordsRow{":=", "write (SETQ NAME VALUE)"},
    WordsRow{"ELSE", kIf},
    WordsRow{"THEN", kIf},
    // Not as the form is elsewhere: the table's own words.
    WordsRow{"(ABS)",
             "write (IF (< X 0) (- X) X); or put ;@ load examples/lib/lists.lsp above the program, "
             "which defines it"},
    WordsRow{"(COND)", "nest IFs"},
    WordsRow{"(COND 5)", "nest IFs"},
    WordsRow{"(CASE 5)", "nest IFs"},
    WordsRow{"(CASE 5 6)", "nest IFs"},
    WordsRow{"(DEFINE)", "functions are made with DEFUN, variables with SETQ"},
};

TEST(Habits, HaveTheTextToWriteInstead) {
  for (const Row& row : kRows) {
    if (*row.instead == '\0') continue;
    SCOPED_TRACE(row.program);
    const std::string before(kBefore);
    const std::string advice = std::string("write ") + row.instead + row.words + "\n";
    EXPECT_THAT(explanationOf(outcomeOf(before + row.program)), HasSubstr(advice));
    if (*row.result == '\0') continue;
    const Outcome outcome = outcomeOf(before + row.instead);
    ASSERT_EQ(outcome.kind, OutcomeKind::Value) << outcome.message;
    EXPECT_EQ(shorten(outcome.value, 200), row.result);
  }
}

TEST(Habits, AreAdvisedOnInWords) {
  for (const WordsRow& row : kWordsRows) {
    EXPECT_THAT(explanationOf(outcomeOf(std::string(kBefore) + row.program)),
                HasSubstr(row.advice + std::string("\n")))
        << row.program;
  }
}

TEST(Habits, HaveARowEach) {
  for (const Habit& habit : habits()) {
    const std::string front = "(" + std::string(habit.name());
    const auto begins = [&front](const auto& row) {
      const std::string_view program(row.program);
      const std::size_t size = front.size();
      return program.starts_with(front) && (program[size] == ' ' || program[size] == ')');
    };
    EXPECT_TRUE(std::any_of(kRows.begin(), kRows.end(), begins) ||
                std::any_of(kWordsRows.begin(), kWordsRows.end(), begins))
        << habit.name();
  }
}

TEST(Habits, AreDescribedInALine) {
  EXPECT_EQ(describe(*findHabit("ABS")),
            "(ABS X) is not of this language: write (IF (< X 0) (- X) X); or put ;@ load "
            "examples/lib/lists.lsp above the program, which defines it");
  EXPECT_EQ(describe(*findHabit("COND")),
            "(COND (TEST BODY) (T BODY)) is not of this language: nest IFs");
}

TEST(Habits, AreNotSeenInWhatIsOnesOwn) {
  EXPECT_EQ(findHabit("BOLT"), nullptr);
  EXPECT_THAT(explanationOf(outcomeOf("(SETQ A1 5) A2")), HasSubstr("did you mean A1?"));
  EXPECT_THAT(explanationOf(outcomeOf("(WASHER 1)")), HasSubstr("define it with DEFUN"));
  EXPECT_THAT(explanationOf(outcomeOf("(HOLE 1)")), Not(HasSubstr("WHILE")));
  EXPECT_THAT(explanationOf(outcomeOf("((1 2) 3)")), HasSubstr("quote it: '((1 2) 3)"));
  EXPECT_THAT(explanationOf(outcomeOf("(DEFUN FIRST (X) X) (FIRST 1 2)")),
              HasSubstr("FIRST is defined at"));
}

TEST(Habits, OfManyLinesAreShownOnOne) {
  EXPECT_THAT(explanationOf(outcomeOf("(WHEN (= 1 1)\n\t  5)")),
              HasSubstr("write (IF (= 1 1) (PROGN 5))\n"));
  EXPECT_THAT(explanationOf(outcomeOf("(WHEN (= 1 ; one\n 1) 5)")),
              HasSubstr("write (IF ... (PROGN 5))\n"));
  EXPECT_THAT(explanationOf(outcomeOf("(ABS (+ " + std::string(120, '1') + "))")),
              HasSubstr("write (IF (< ... 0) (- ...) ...)"));
}

TEST(Habits, InsideAForeignFormAreTold) {
  EXPECT_THAT(explanationOf(outcomeOf("(COND (T (/ 1 0)))")),
              HasSubstr("it stands in a form that the language does not have, COND: "
                        "write (/ 1 0)\n"));
  // A failure in a function that is called there has an advice of its own.
  EXPECT_THAT(explanationOf(outcomeOf("(DEFUN F (X) (/ 1 0)) (FOREACH (F 1))")),
              HasSubstr("test it before"));
}

}  // namespace
}  // namespace explain
