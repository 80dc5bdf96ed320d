#include "console/language/outline.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "console/language/marked_document.h"

namespace lisp_worker::console::language {
namespace {

std::string outline(const std::string& text) {
  MarkedDocument document(text);
  std::string found;
  for (const Definition& each : definitionsIn(document.text().parts)) {
    found += std::string(each.is_function ? "function " : "variable ") + std::string(each.name) +
             " " + std::string(document.textOf(each.name_span)) + ": " +
             std::string(document.textOf(each.span)) + "\n";
  }
  return found;
}

TEST(Outline, ListsFunctionsAndGlobalVariables) {
  EXPECT_EQ(outline("(SETQ a 1 B 2)\n(SETQ A 3)\n(DEFUN F (X) (SETQ X 1 C 2))"),
            "variable A a: (SETQ a 1 B 2)\n"
            "variable B B: (SETQ a 1 B 2)\n"
            "function F F: (DEFUN F (X) (SETQ X 1 C 2))\n");
}

TEST(Outline, ListsFunctionsInsideOthers) {
  EXPECT_EQ(outline("(DEFUN F () (DEFUN G () 1) (G))"),
            "function F F: (DEFUN F () (DEFUN G () 1) (G))\n"
            "function G G: (DEFUN G () 1)\n");
}

std::string folds(const std::string& text) {
  MarkedDocument document(text);
  std::string found;
  for (const Fold& fold : foldsIn(document.text())) {
    found += std::to_string(fold.first_line) + "-" + std::to_string(fold.last_line) +
             (fold.is_comment ? "c " : " ");
  }
  return found;
}

TEST(Folds, AreListsAndCommentsOfSeveralLines) {
  EXPECT_EQ(folds("; one\n; two\n(DEFUN F ()\n  (A\n   B)\n  (C))\n; three\n(D)"), "0-1c 2-5 3-4 ");
  EXPECT_EQ(folds("(A ; x\n; y\n; z\n B)"), "0-3 1-2c ");
  EXPECT_EQ(folds("(A) ; x\n; y"), "");
  EXPECT_EQ(folds("((A\nB))"), "0-1 ");
}

std::vector<std::string> selections(const std::string& marked) {
  MarkedDocument document(marked);
  std::vector<std::string> texts;
  for (const Span& span : selectionsAt(document.text(), document.offset())) {
    texts.emplace_back(document.textOf(span));
  }
  return texts;
}

TEST(Selections, GrowFromTheWordToTheText) {
  using Texts = std::vector<std::string>;
  EXPECT_EQ(selections("(A) (B '(c| D) \"e\")"),
            (Texts{"c", "c D", "(c D)", "'(c D)", "B '(c D) \"e\"", "(B '(c D) \"e\")",
                   "(A) (B '(c D) \"e\")"}));
  EXPECT_EQ(selections("(B \"e|f\")"), (Texts{"ef", "\"ef\"", "B \"ef\"", "(B \"ef\")"}));
  EXPECT_EQ(selections("|"), (Texts{""}));
}

}  // namespace
}  // namespace lisp_worker::console::language
