#include "console/language/layouts.h"

#include <gtest/gtest.h>

#include <string>

#include "console/language/marked_document.h"
#include "explain/format.h"
#include "explain/source.h"
#include "testing/base/random.h"
#include "testing/generators/layout_damage.h"
#include "testing/generators/right_programs.h"

namespace lisp_worker::console::language {
namespace {

std::string applied(const ProgramText& text, const std::vector<TextEdit>& edits) {
  std::string result = text.document.text();
  for (const TextEdit& edit : edits) {
    result.replace(edit.span.begin, edit.span.size(), edit.text);
  }
  return result;
}

std::string formatted(const std::string& text) {
  MarkedDocument document(text);
  return applied(document.text(), formatAll(document.text()));
}

TEST(FormatAll, GivesTheStyle) {
  EXPECT_EQ(formatted("( A   1 )\n(B)\n"), "(A 1)\n(B)\n");
  EXPECT_EQ(formatted("( A   1 )\r\n(B)\r\n"), "(A 1)\r\n(B)\r\n");
  EXPECT_EQ(formatted("\xEF\xBB\xBF( A)\n"), "\xEF\xBB\xBF(A)\n");
}

TEST(FormatAll, LeavesWhatCannotBeRead) { EXPECT_EQ(formatted("( A\n"), "( A\n"); }

TEST(FormatAll, ChangesNoMoreLinesThanItMust) {
  MarkedDocument document("(A)\n(B)\n( C )\n(D)\n");
  const std::vector<TextEdit> edits = formatAll(document.text());
  ASSERT_EQ(edits.size(), 1U);
  EXPECT_EQ(edits.front(), (TextEdit{{8, 14}, "(C)\n"}));
}

TEST(FormatAll, MakesWhatTheFormatterMakesOfGeneratedPrograms) {
  testing_support::Random random(3);
  for (int n = 0; n < 200; ++n) {
    const std::string text =
        testing_support::damagedLayout(testing_support::makeRightProgram(random), random);
    if (text.find('|') != std::string::npos) continue;
    ASSERT_EQ(formatted(text), explain::formatProgram(explain::Source("", text)).text) << text;
  }
}

std::string formattedAt(const std::string& marked) {
  MarkedDocument document(marked);
  return applied(document.text(), formatForms(document.text(), document.span()));
}

TEST(FormatForms, FormatsWholeFormsThatTheRangeTouches) {
  EXPECT_EQ(formattedAt("( A )\n( B  (C| D ) )\n( E| )\n( F )\n"),
            "( A )\n(B (C D))\n(E)\n( F )\n");
  EXPECT_EQ(formattedAt("( A )  ( B| )\n( C )\n"), "(A) (B)\n( C )\n");
  EXPECT_EQ(formattedAt("( A )\n |  \n( C )\n"), "( A )\n   \n( C )\n");
  EXPECT_EQ(formattedAt("  ( A| ) ; note\n"), "(A) ; note\n");
}

TEST(FormatForms, FormatsAFormBesideOneThatCannotBeRead) {
  EXPECT_EQ(formattedAt("(X\n(Y (\n( A| )\n"), "(X\n(Y (\n(A)\n");
}

std::string typed(const std::string& marked, char letter) {
  MarkedDocument document(marked);
  return applied(document.text(), formatTyped(document.text(), document.offset(), letter));
}

TEST(FormatTyped, FormatsAFormThatIsWholeNow) {
  EXPECT_EQ(typed("( A\n( B ))|", ')'), "(A\n  (B))");
  EXPECT_EQ(typed("( A ( B )|", ')'), "( A ( B )");
}

TEST(FormatTyped, IndentsANewLine) {
  EXPECT_EQ(typed("(DEFUN F ()\n|", '\n'), "(DEFUN F ()\n  ");
  EXPECT_EQ(typed("(DEFUN F ()\n|      )", '\n'), "(DEFUN F ()\n  )");
  EXPECT_EQ(typed("(LIST 1\n|)", '\n'), "(LIST 1\n      )");
  EXPECT_EQ(typed("(A)\n   |", '\n'), "(A)\n");
  EXPECT_EQ(typed("(LIST \"a\n|", '\n'), "(LIST \"a\n");
}

}  // namespace
}  // namespace lisp_worker::console::language
