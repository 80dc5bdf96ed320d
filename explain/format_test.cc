#include "explain/format.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <fstream>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "testing/base/test_environment.h"

namespace explain {
namespace {

Formatting format(std::string_view text) {
  return formatProgram(Source("text", std::string(text)));
}

// Formats twice: the second time must change nothing.
std::string formatted(std::string_view text) {
  const Formatting once = format(text);
  if (once.fault) {
    ADD_FAILURE() << once.fault->message << "\n" << text;
    return "";
  }
  EXPECT_TRUE(readTheSame(text, once.text)) << text;
  EXPECT_EQ(format(once.text).text, once.text);
  return once.text;
}

struct Case {
  std::string_view claim;
  std::string_view before;
  std::string_view after;
};

template <std::size_t Count>
void expectFormatted(const Case (&cases)[Count]) {
  for (const Case& row : cases) {
    SCOPED_TRACE(row.claim);
    EXPECT_EQ(formatted(row.before), row.after);
  }
}

std::string text(std::size_t count, char c) { return std::string(count, c); }

TEST(Format, SetsBlanksBetweenTokens) {
  expectFormatted({
      {"an empty text stays empty", "", ""},
      {"blanks alone go", " \n\t\r\n \f\v\x1A", ""},
      {"one blank between forms of a line", "(SETQ   A\t1)   (B)", "(SETQ A 1) (B)\n"},
      {"none inside parentheses", "( A ( B ) )", "(A (B))\n"},
      {"some where none was", "(A\"s\"(B)'C(D))", "(A \"s\" (B) 'C (D))\n"},
      {"an apostrophe stays at its form", "(LIST '  A ' \n (B))", "(LIST 'A '(B))\n"},
      {"two apostrophes", "' 'A", "''A\n"},
      {"spelling stays", "(sEtQ a 0X1f b 1.50e+0 c nIL)", "(sEtQ a 0X1f b 1.50e+0 c nIL)\n"},
      {"a string keeps every byte", "(A \" \t\r\n\\\"  ; no comment \\n\")",
       "(A \" \t\r\n\\\"  ; no comment \\n\")\n"},
      {"the end of file mark", "(A) \x1A", "(A)\n"},
      {"the same mark inside a name", "(A\x1A B)", "(A\x1A B)\n"},
  });
}

TEST(Format, KeepsTheLineBreaksOfItsAuthor) {
  expectFormatted({
      {"between forms", "(A)\n(B)", "(A)\n(B)\n"},
      {"between arguments", "(LIST\n1\n2 3)", "(LIST\n  1\n  2 3)\n"},
      {"not behind an opening parenthesis", "(\n\nA\n)", "(A)\n"},
      {"not in front of a closing one", "(PROGN\n (A\n )\n)\n", "(PROGN\n  (A))\n"},
      {"one blank line of several", "(A)\n \n\t\n\n(B)\n\n(C)\n\n\n", "(A)\n\n(B)\n\n(C)\n"},
      {"none at the beginning", "\n\n(A)", "(A)\n"},
      {"blank lines inside a form", "(PROGN\n  (A)\n\n\n  (B))", "(PROGN\n  (A)\n\n  (B))\n"},
  });
}

TEST(Format, Indents) {
  expectFormatted({
      {"arguments below the first", "(LIST A\nB\nC)", "(LIST A\n      B\n      C)\n"},
      {"inner calls from their own column", "(LIST (CONS A\nB)\nC)",
       "(LIST (CONS A\n            B)\n      C)\n"},
      {"arguments below a name by two", "(COMMAND\n\"LINE\"\n\"\")",
       "(COMMAND\n  \"LINE\"\n  \"\")\n"},
      {"IF like a call", "(IF A\nB\nC)", "(IF A\n    B\n    C)\n"},
      {"the body of DEFUN by two", "(defun F (X)\n(G X)\n      (H X))",
       "(defun F (X)\n  (G X)\n  (H X))\n"},
      {"parameters below the first", "(DEFUN F (A B /\nC)\nA)",
       "(DEFUN F (A B /\n          C)\n  A)\n"},
      {"the body of WHILE by two", "(WHILE A\n(F)\n(G))", "(WHILE A\n  (F)\n  (G))\n"},
      {"names of SETQ below the first", "(SETQ A 1\nB 2)", "(SETQ A 1\n      B 2)\n"},
      {"a value below its name by two", "(SETQ A\n'((1 2)\n(3 4)))",
       "(SETQ A\n  '((1 2)\n    (3 4)))\n"},
      {"quoted lists by one", "'(A B\nC)", "'(A B\n  C)\n"},
      {"lists in them by one", "'((A B\nC))", "'((A B\n   C))\n"},
      {"lists below QUOTE by one", "(QUOTE (A B\nC))", "(QUOTE (A B\n        C))\n"},
      {"lists that begin with a number", "(F (1 2\n3))", "(F (1 2\n    3))\n"},
      {"lists that begin with a string", "(F (\"1\" 2\n3))", "(F (\"1\" 2\n    3))\n"},
      {"lists that begin with a list", "((A) B\nC)", "((A) B\n C)\n"},
      {"by letters, not bytes", "(LIST \"\xC3\xA4\" (CONS A\nB))",
       "(LIST \"\xC3\xA4\" (CONS A\n                B))\n"},
      {"behind the last line of a string", "(F \"1\n2\" (CONS A\nB))",
       "(F \"1\n2\" (CONS A\n         B))\n"},
  });
}

TEST(Format, IndentsByNoMoreThanAMargin) {
  const std::string name = text(70, 'F');
  EXPECT_EQ(formatted("(" + name + " A\nB)"), "(" + name + " A\n  B)\n");
  EXPECT_EQ(formatted("'" + text(80, '(') + "A\nB" + text(80, ')')),
            "'" + text(80, '(') + "A\n" + text(60, ' ') + "B" + text(80, ')') + "\n");
}

TEST(Format, PlacesComments) {
  expectFormatted({
      {"two blanks behind code", "(A); one \n(BCD)\n(E) ;two", "(A)  ; one\n(BCD)\n(E)  ;two\n"},
      {"below each other in lines that follow each other", "(A) ; a\n(BCD) ; b\n\n(E) ; c",
       "(A)    ; a\n(BCD)  ; b\n\n(E)  ; c\n"},
      {"lines of their own as what follows", "(PROGN\n; a\n  (A)\n      ; b\n  (B))\n   ; c\n(C)",
       "(PROGN\n  ; a\n  (A)\n  ; b\n  (B))\n; c\n(C)\n"},
      {"alone", "  ; a", "; a\n"},
      {"at the end", "(A)\n\n\n  ; a\n\n", "(A)\n\n; a\n"},
      {"a comment that goes on below itself", "(A) ; a\n    ; b\n    ; c\n  ; d\n(B)",
       "(A)  ; a\n     ; b\n     ; c\n; d\n(B)\n"},
      {"by columns with tabs", "(A)\t\t; a\n\t\t; b\n", "(A)  ; a\n     ; b\n"},
      {"not over a blank line", "(A) ; a\n\n    ; b\n", "(A)  ; a\n\n; b\n"},
      {"closing parentheses go in front", "(WHILE A\n  (B) ; b\n)\n(C)",
       "(WHILE A\n  (B))  ; b\n(C)\n"},
      {"and what follows them begins a line", "(F (G A ; a\n) B)", "(F (G A)  ; a\n   B)\n"},
      {"they stay in front of another comment", "(F (G ; a\n) ; b\n)",
       "(F (G    ; a\n     ))  ; b\n"},
      {"and behind a comment in a line of its own", "(PROGN\n  (A)\n; a\n)",
       "(PROGN\n  (A)\n  ; a\n  )\n"},
      {"behind an opening parenthesis", "(; a\n\nF ; b\n\nA)", "(  ; a\n\n F  ; b\n\n A)\n"},
      {"behind an apostrophe", "(F ' ; a\nB)", "(F '  ; a\n    B)\n"},
      {"below an apostrophe", "'\n; a\nB", "'\n ; a\n B\n"},
      {"what looks like code", "(A) ; (B \"c\n(D)", "(A)  ; (B \"c\n(D)\n"},
      {"an empty one", "(A) ;\n;\n", "(A)  ;\n;\n"},
  });
  // Comments that would end behind the margin are not aligned.
  const std::string wide = "(F \"" + text(70, 'x') + "\")";
  EXPECT_EQ(formatted("(A) ; " + text(30, 'a') + "\n" + wide + " ; b\n"),
            "(A)  ; " + text(30, 'a') + "\n" + wide + "  ; b\n");
}

TEST(Format, BreaksLinesThatAreTooLong) {
  const std::string a = text(40, 'A');
  const std::string b = text(50, 'B');
  const std::string call = "(F " + a + " " + b;
  EXPECT_EQ(formatted(call + " CCCC)"), call + " CCCC)\n");  // 100 letters.
  EXPECT_EQ(formatted(call + " CCCCC)"), "(F " + a + "\n   " + b + "\n   CCCCC)\n");
  EXPECT_EQ(formatted("(G " + call + ")) ; " + a), "(G " + call + "))  ; " + a + "\n");
  EXPECT_EQ(formatted("(DEFUN F (X) " + call + ") (G))"),
            "(DEFUN F (X)\n  " + call + ")\n  (G))\n");
  EXPECT_EQ(formatted("(WHILE (F) " + call + ") (G))"), "(WHILE (F)\n  " + call + ")\n  (G))\n");
  EXPECT_EQ(formatted("(SETQ X " + a + " Y " + b + " Z 1)"),
            "(SETQ X " + a + "\n      Y " + b + "\n      Z 1)\n");
  // As many in a line as fit.
  EXPECT_EQ(formatted("(COMMAND " + a + " 1 2 " + b + " 3 4)"),
            "(COMMAND " + a + " 1 2\n         " + b + " 3 4)\n");
  EXPECT_EQ(formatted("'(" + a + " 1 22222 " + b + " 3 4)"),
            "'(" + a + " 1 22222\n  " + b + " 3 4)\n");
  EXPECT_EQ(formatted("(F " + a + ") (F " + b + ") (G)"), "(F " + a + ") (F " + b + ")\n(G)\n");
  // The outermost list first, and inner ones only if they still do not fit.
  EXPECT_EQ(formatted("(F (G " + a + " 1) (H (I " + b + " 2) (I " + b + " 3)))"),
            "(F (G " + a + " 1)\n   (H (I " + b + " 2)\n      (I " + b + " 3)))\n");
  // A later line of a call whose first line fits.
  EXPECT_EQ(formatted("(F 1\n" + a + " " + b + " 22222 3)"),
            "(F 1\n   " + a + " " + b + " 22222\n   3)\n");
  // Nothing to break.
  const std::string whole = "(GETPOINT \"" + text(120, 'x') + "\")";
  EXPECT_EQ(formatted(whole), whole + "\n");
  // Two bytes are one letter.
  std::string letters;
  for (int n = 0; n < 94; ++n) letters += "\xC3\xA4";
  EXPECT_EQ(formatted("(F 1 " + letters + ")"), "(F 1 " + letters + ")\n");
  EXPECT_EQ(formatted("(F 1 " + letters + "a)"), "(F 1\n   " + letters + "a)\n");
}

TEST(Format, KeepsTheKindOfLineEnds) {
  expectFormatted({
      {"as the first", "(A)\r\n(B) ; b \r\n", "(A)\r\n(B)  ; b\r\n"},
      {"the others become the same", "(A)\n(B)\r\n(C)\r\n", "(A)\n(B)\n(C)\n"},
      {"none", "(A)", "(A)\n"},
      {"not inside strings", "(A \"\n\")\r\n(B \"\r\n\")\n", "(A \"\n\")\r\n(B \"\r\n\")\r\n"},
      {"a carriage return alone is a blank", "(A)\r(B)", "(A) (B)\n"},
  });
}

TEST(Format, LeavesTextAloneThatCannotBeRead) {
  const struct {
    std::string_view text;
    std::string_view message;
    std::size_t begin;
  } cases[] = {{"(A)\n(B (C)", "unterminated list", 4},
               {"(A)\n(B))", "unexpected ')'", 7},
               {"(A \"b)", "unterminated string", 3},
               {"(A)\n'", "unexpected end of input", 4}};
  for (const auto& row : cases) {
    const Formatting result = format(row.text);
    ASSERT_TRUE(result.fault.has_value()) << row.text;
    EXPECT_EQ(result.fault->message, row.message);
    EXPECT_EQ(result.fault->begin, row.begin) << row.text;
    EXPECT_EQ(result.text, "");
  }
  const std::string deep(1000000, '(');
  EXPECT_EQ(format(deep).fault->message, "parser nesting limit exceeded");
  EXPECT_EQ(format(std::string(1000000, ')')).fault->message, "unexpected ')'");
}

// Texts made to blow up when they are indented or aligned.
TEST(Format, MakesNoTextManyTimesAsLong) {
  constexpr std::size_t kSize = 200000;
  const auto repeated = [](std::string_view piece) {
    std::string many;
    while (many.size() < kSize) many += piece;
    return many;
  };
  const std::string cases[] = {text(500, '(') + repeated("1\n") + text(500, ')'),
                               "(" + text(kSize, 'A') + " x\n" + repeated("1\n") + ")",
                               "(A \"" + text(kSize, 'x') + "\" ; a\n" + repeated("1;x\n") + ")",
                               repeated("(A \"x\" ; a\n") + repeated("; b\n")};
  for (const std::string& hostile : cases) {
    const Formatting result = format(hostile);
    EXPECT_LT(result.text.size(), hostile.size() * 64);
  }
}

TEST(Format, MakesWhatTheDocumentShows) {
  std::ostringstream document;
  document << std::ifstream(lisp_worker::testing_support::environment("LISP_SOURCE_DIR") +
                            "/docs/LANGUAGE.md")
                  .rdbuf();
  const std::string all = document.str();
  std::vector<std::string> blocks;
  for (std::size_t at = all.find("\n## Layout\n"); blocks.size() < 2;) {
    constexpr std::string_view kBegin = "\n```text\n";
    at = all.find(kBegin, at);
    ASSERT_NE(at, all.npos);
    at += kBegin.size();
    const std::size_t end = all.find("```", at);
    ASSERT_NE(end, all.npos);
    blocks.push_back(all.substr(at, end - at));
    at = end + 3;
  }
  EXPECT_EQ(formatted(blocks[0]), blocks[1]);
}

TEST(ReadTheSame, HoldsForLayoutOnly) {
  const std::string_view text = "(A 1 'b) ; c\n; d\n(E \"f\")";
  EXPECT_TRUE(readTheSame(text, text));
  EXPECT_TRUE(readTheSame(text, "( A\n1 ' b )\t; c \n\n ; d\n(E\"f\")\n"));
  for (const std::string_view other : {"(A 1 'b) ; c\n; d\n(E \"g\")",       // Another string,
                                       "(A 1 b) ; c\n; d\n(E \"f\")",        // form,
                                       "(A 1 'B) ; c\n; d\n(E \"f\")",       // spelling of a name,
                                       "(A 1. 'b) ; c\n; d\n(E \"f\")",      // of a number,
                                       "(A 1 'b) ; C\n; d\n(E \"f\")",       // comment;
                                       "(A 1 'b) ; c\n(E \"f\")",            // a comment is gone,
                                       "(A 1 'b) ; c\n; d\n; d\n(E \"f\")",  // or new,
                                       "(A 1 'b) ; c\n(E ; d\n\"f\")",       // somewhere else,
                                       "(A 1 'b)\n; c\n; d\n(E \"f\")",   // in a line of its own;
                                       "(A 1 'b ; c\n; d\n(E \"f\"))",    // a list ends elsewhere,
                                       "(A 1 'b) ; c\n; d\n(E \"f\""}) {  // or never.
    EXPECT_FALSE(readTheSame(text, other)) << other;
    EXPECT_FALSE(readTheSame(other, text)) << other;
  }
}

TEST(HasBody, KnowsTheFormsInEitherCase) {
  EXPECT_TRUE(hasBody("DEFUN"));
  EXPECT_TRUE(hasBody("while"));
  EXPECT_FALSE(hasBody("IF"));
  EXPECT_FALSE(hasBody(""));
}

}  // namespace
}  // namespace explain
