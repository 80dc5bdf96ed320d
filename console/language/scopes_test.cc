#include "console/language/scopes.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "console/language/marked_document.h"
#include "console/language/renames.h"

namespace lisp_worker::console::language {
namespace {

// The text with brackets around all that means the same as the name at the cursor.
std::string same(const std::string& marked) {
  MarkedDocument document(marked);
  const auto use = document.unit().scopes.at(0, document.offset());
  if (!use) return "no name";
  std::string text = document.document().text().text();
  const std::vector<Use> uses = document.unit().scopes.sameAs(*use);
  for (auto each = uses.rbegin(); each != uses.rend(); ++each) {
    text.insert(each->span.end, "]");
    text.insert(each->span.begin, "[");
  }
  return text;
}

TEST(Scopes, FindCallsAndDefinitionsOfAFunction) {
  EXPECT_EQ(same("(DEFUN |F (X) (F X)) (SETQ F (f 1)) '(F)"),
            "(DEFUN [F] (X) ([F] X)) (SETQ F ([f] 1)) '(F)");
}

TEST(Scopes, KeepTheVariablesOfFunctionsApart) {
  EXPECT_EQ(same("(DEFUN F (|X / Y) (SETQ Y X)) (DEFUN G (X) X) (SETQ X 1)"),
            "(DEFUN F ([X] / Y) (SETQ Y [X])) (DEFUN G (X) X) (SETQ X 1)");
  EXPECT_EQ(same("(DEFUN F (X) X) (SETQ |X 1) (PRINC X)"),
            "(DEFUN F (X) X) (SETQ [X] 1) (PRINC [X])");
}

TEST(Scopes, JoinWhatACallCopies) {
  EXPECT_EQ(same("(DEFUN AREA () (* W W)) (DEFUN ROOM (|W) (AREA)) (DEFUN DOOR (W) W)"),
            "(DEFUN AREA () (* [W] [W])) (DEFUN ROOM ([W]) (AREA)) (DEFUN DOOR (W) W)");
  EXPECT_EQ(same("(DEFUN A () |W) (DEFUN B () (A)) (DEFUN C (W) (B)) (SETQ W 1)"),
            "(DEFUN A () [W]) (DEFUN B () (A)) (DEFUN C ([W]) (B)) (SETQ [W] 1)");
}

TEST(Scopes, EndACopyWhereAFunctionHasItsOwn) {
  EXPECT_EQ(same("(DEFUN A () W) (DEFUN B (W) (A)) (DEFUN C (|W) (B W))"),
            "(DEFUN A () W) (DEFUN B (W) (A)) (DEFUN C ([W]) (B [W]))");
}

TEST(Scopes, FollowCallsInACircle) {
  EXPECT_EQ(same("(DEFUN A () (B)) (DEFUN B () (A) X) (DEFUN C (|X) (A))"),
            "(DEFUN A () (B)) (DEFUN B () (A) [X]) (DEFUN C ([X]) (A))");
}

TEST(Scopes, KnowNoNamesInDataOrOfConstants) {
  EXPECT_EQ(same("(LIST '(|A B))"), "no name");
  EXPECT_EQ(same("(LIST |T)"), "no name");
  EXPECT_EQ(same("(|QUOTE X)"), "no name");
  EXPECT_EQ(same("; |comment"), "no name");
}

std::string definitions(const std::string& marked) {
  MarkedDocument document(marked);
  const auto use = document.unit().scopes.at(0, document.offset());
  std::string text;
  for (const Use& each : document.unit().scopes.definitionsOf(*use)) {
    text += std::to_string(each.span.begin) + " ";
  }
  return text;
}

TEST(Scopes, TellWhereANameIsDefined) {
  EXPECT_EQ(definitions("(DEFUN F () 1) (DEFUN F () 2) (|F)"), "7 22 ");
  EXPECT_EQ(definitions("(DEFUN F (X) (SETQ X 1) |X)"), "10 ");
  EXPECT_EQ(definitions("(DEFUN F () (SETQ X 1)) (SETQ X 2) |X"), "30 ");
  EXPECT_EQ(definitions("(|CAR '(1))"), "");
}

std::string refusal(const std::string& marked, const std::string& name) {
  MarkedDocument document(marked);
  const auto use = document.unit().scopes.at(0, document.offset());
  const std::string reason = whyNoRename(document.unit(), *use);
  return reason.empty() ? whyNotNamed(document.unit(), *use, name) : reason;
}

TEST(Renames, RefuseWhatIsNoNameOfTheProgram) {
  EXPECT_EQ(refusal("(|CAR '(1))", "X"), "CAR is a function of the language");
  EXPECT_EQ(refusal("(|PLATE 1)", "X"), "nothing here defines PLATE");
  EXPECT_EQ(refusal("(LIST |X)", "Y"), "nothing here assigns X");
}

TEST(Renames, RefuseNamesThatWouldMeanSomethingElse) {
  const std::string text = "(DEFUN |F (X) X) (DEFUN G (Y) Y)";
  EXPECT_EQ(refusal(text, "PLATE-2"), "");
  EXPECT_EQ(refusal(text, "f"), "");
  EXPECT_EQ(refusal(text, "X"), "");  // The name of a variable.
  EXPECT_EQ(refusal(text, "g"), "G is used already");
  EXPECT_EQ(refusal(text, "car"), "CAR is a function of the language");
  EXPECT_EQ(refusal(text, "T"), "T is not the name of a variable");
  for (const char* const name : {"", "A B", "(A)", "12", "nil", "'A", "A;", "\"A\"", " A", "A)"}) {
    EXPECT_EQ(refusal(text, name), "'" + std::string(name) + "' is not read as one name");
  }
}

}  // namespace
}  // namespace lisp_worker::console::language
