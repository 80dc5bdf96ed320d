#include "console/language/fixes.h"

#include <gtest/gtest.h>

#include <string>

#include "console/language/marked_document.h"

namespace lisp_worker::console::language {
namespace {

// The text after the first fix that is offered.
std::string fixed(const std::string& text) {
  MarkedDocument document(text);
  for (const Diagnostic& diagnostic : document.workspace().check(document.document())) {
    const auto fix = fixFor(document.text(), diagnostic);
    if (!fix) continue;
    std::string result = text;
    return result.replace(fix->edit.span.begin, fix->edit.span.size(), fix->edit.text);
  }
  return "no fix";
}

TEST(Fixes, PutTheNameThatWasMeant) {
  EXPECT_EQ(fixed("(DEFUN PLATE (W) W)\n(PLAT 1)"), "(DEFUN PLATE (W) W)\n(PLATE 1)");
  EXPECT_EQ(fixed("(setq width 1)\n(list widht)"), "(setq width 1)\n(list width)");
}

TEST(Fixes, TranslateHabits) {
  EXPECT_EQ(fixed("(SETQ A 1)\n(ABS (- A 5))"),
            "(SETQ A 1)\n(IF (< (- A 5) 0) (- (- A 5)) (- A 5))");
  EXPECT_EQ(fixed("(SETQ A 1)\n(COND ((= A 1) 2) (T 3))"), "(SETQ A 1)\n(IF (= A 1) 2 3)");
  EXPECT_EQ(fixed("(SETQ A 1)\n(1 + A)"), "(SETQ A 1)\n(+ 1 A)");
  EXPECT_EQ(fixed("(LIST TRUE)"), "(LIST T)");
  EXPECT_EQ(fixed("(LIST 5mm)"), "(LIST 5)");
  EXPECT_EQ(fixed("(LIST 1,5)"), "(LIST 1.5)");
}

TEST(Fixes, PutSeveralFormsTogetherWhereOneIsWanted) {
  EXPECT_EQ(fixed("(SETQ S 0)\n(REPEAT 3 (SETQ S (1+ S)))"),
            "(SETQ S 0)\n(SETQ I 0) (WHILE (< I 3) (SETQ S (1+ S)) (SETQ I (1+ I)))");
  EXPECT_EQ(
      fixed("(SETQ S 0)\n(IF S (REPEAT 3 (SETQ S (1+ S))))"),
      "(SETQ S 0)\n(IF S (PROGN (SETQ I 0) (WHILE (< I 3) (SETQ S (1+ S)) (SETQ I (1+ I)))))");
}

TEST(Fixes, TakeTheWholeLineOfACommand) {
  EXPECT_EQ(fixed("CIRCLE 5,5 3\n"), "(COMMAND \"CIRCLE\" '(5 5) 3)\n");
}

TEST(Fixes, CloseAList) {
  EXPECT_EQ(fixed("(LIST (LIST 1 2) ; note\n(LIST 3)\n"), "(LIST (LIST 1 2)) ; note\n(LIST 3)\n");
  EXPECT_EQ(fixed("(LIST (LIST 1\n"), "(LIST (LIST 1))\n");
  EXPECT_EQ(fixed("(LIST 1))\n"), "(LIST 1)\n");
}

TEST(Fixes, DeclareLocals) {
  EXPECT_EQ(fixed("(DEFUN F (A) (SETQ N A) (LIST N))\n(F 1)"),
            "(DEFUN F (A / N) (SETQ N A) (LIST N))\n(F 1)");
  EXPECT_EQ(fixed("(DEFUN F (A / B C) (SETQ B A) B)\n(F 1)"),
            "(DEFUN F (A / B) (SETQ B A) B)\n(F 1)");
  EXPECT_EQ(fixed("(DEFUN F (A / B) A)\n(F 1)"), "(DEFUN F (A) A)\n(F 1)");
}

TEST(Fixes, TurnDegreesIntoRadians) {
  EXPECT_EQ(fixed("(POLAR '(0 0) 90 1)"), "(POLAR '(0 0) (* 90 0.017453292519943295) 1)");
}

TEST(Fixes, AskForTheLengthOfAList) {
  EXPECT_EQ(fixed("(SETQ L '(1))\n(WHILE L (SETQ L (CDR L)))"),
            "(SETQ L '(1))\n(WHILE (> (LENGTH L) 0) (SETQ L (CDR L)))");
}

TEST(Fixes, AreNotOfferedWhereAPersonMustDecide) {
  for (const char* const text :
       {"(LIST X)", "(UNKNOWN-NAME 1)", "(MAPCAR 'F '(1))", "(LIST 1)", "(LET ((A 1)) A)",
        "(LOAD \"lib.lsp\")", "(+ \"a\" 1)", "(:= A 5)"}) {
    const std::string result = fixed(text);
    EXPECT_TRUE(result == "no fix" || result.find("NAME VALUE") == std::string::npos)
        << text << " -> " << result;
  }
  EXPECT_EQ(fixed("(MAPCAR 'F '(1))"), "no fix");
  EXPECT_EQ(fixed("(LOAD \"lib.lsp\")"), "no fix");
}

}  // namespace
}  // namespace lisp_worker::console::language
