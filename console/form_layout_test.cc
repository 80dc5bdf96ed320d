#include "console/form_layout.h"

#include <gtest/gtest.h>

#include <string>

namespace lisp_worker::console {
namespace {

TEST(FormLayout, FindsTheOtherBracket) {
  const std::string text = "(A (B \")\" ; )\n) '(C))";
  EXPECT_EQ(matchingBracket(text, 0), text.size() - 1);
  EXPECT_EQ(matchingBracket(text, text.size() - 1), 0U);
  EXPECT_EQ(matchingBracket(text, 3), 14U);
  EXPECT_EQ(matchingBracket(text, 14), 3U);
  EXPECT_EQ(matchingBracket(text, 7), std::nullopt) << "of a string";
  EXPECT_EQ(matchingBracket(text, 12), std::nullopt) << "of a comment";
  EXPECT_EQ(matchingBracket("(A", 0), std::nullopt);
  EXPECT_EQ(matchingBracket(")(A)", 0), std::nullopt);
  EXPECT_EQ(matchingBracket(")(A)", 3), 1U);
}

TEST(FormLayout, IndentsAsPeopleDo) {
  struct Row {
    const char* text;
    std::size_t indent;
  };
  const Row rows[] = {
      {"(DEFUN F (X)", 2},
      {"(while (< N 3)", 2},
      {"(IF (< A 1)", 4},
      {"(LIST 1 2", 6},
      {"(LIST", 2},
      {"(LIST ; why", 2},
      {"'((0 \"CIRCLE\")", 2},
      {"((A", 3},
      {"(DEFUN F (X)\n  (LIST 1", 8},
      {"(DEFUN F (X)\n  (LIST 1)", 2},
      {"(LIST \"\xC3\xA9\" (", 11},
      {"(SETQ A \"text", 0},
      {"(A)", 0},
      {"", 0},
      {"(LIST \"a;(\" ; (", 6},
  };
  for (const Row& row : rows) {
    EXPECT_EQ(indentAfter(row.text, 0), row.indent) << row.text;
  }
  // The prompt moves what hangs below the first line, and nothing else.
  EXPECT_EQ(indentAfter("(DEFUN F (X)", 6), 8U);
  EXPECT_EQ(indentAfter("(DEFUN F (X)\n        (LIST 1", 6), 14U);
}

TEST(FormLayout, TakesTheMarginAwayAgain) {
  EXPECT_EQ(withoutMargin("(A\n    (B\n\n      C))", 4), "(A\n(B\n\n  C))");
  EXPECT_EQ(withoutMargin("(A\n   (B))", 4), "(A\n   (B))") << "fewer blanks";
  EXPECT_EQ(withoutMargin("(A \"x\n    y\")", 4), "(A \"x\n    y\")") << "inside a string";
  EXPECT_EQ(withoutMargin("(A)", 4), "(A)");
}

TEST(FormLayout, FindsWhatIsOpen) {
  EXPECT_EQ(openAt("(A (B"), 3U);
  EXPECT_EQ(openAt("(A \"x"), 3U);
  EXPECT_EQ(openAt("(A)"), std::nullopt);
  EXPECT_EQ(openAt("(A))"), std::nullopt);
}

TEST(FormLayout, PutsTheLastValueIn) {
  EXPECT_EQ(withLastValue("(+ :last :LAST) ; :last\n\":last\" :lastly", "'5"),
            "(+ '5 '5) ; :last\n\":last\" :lastly");
}

}  // namespace
}  // namespace lisp_worker::console
