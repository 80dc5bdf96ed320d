#include "console/language/hovers.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "console/language/marked_document.h"

namespace lisp_worker::console::language {
namespace {

using testing::HasSubstr;

std::string hover(const std::string& marked) {
  MarkedDocument document(marked);
  const auto found = hoverAt(document.unit(), document.offset());
  return found ? found->markdown : "nothing";
}

TEST(Hover, ShowsWhatTheReferenceTells) {
  EXPECT_THAT(hover("(po|lar P 0 1)"), HasSubstr("(POLAR POINT ANGLE DISTANCE)"));
  EXPECT_THAT(hover("(GETPOINT|)"), HasSubstr("Asks for a point."));
  EXPECT_THAT(hover("(|WHILE T)"), HasSubstr("(WHILE CONDITION FORM ...)"));
}

TEST(Hover, ShowsAFunctionWithTheCommentAboveIt) {
  EXPECT_EQ(hover("; Not this.\n\n;; A plate,\n;; with holes.\n;@ keep\n; And\n; this.\n"
                  "(DEFUN PLATE (W H / N) W)\n(PLA|TE 1 2)"),
            "```lisp\n(PLATE W H)\n```\nAnd\nthis.\n\nLocals: `N`\n");
}

TEST(Hover, ShowsWhereAVariableComesFrom) {
  EXPECT_THAT(hover("(DEFUN F (X) |X)"), HasSubstr("A parameter of `F`"));
  EXPECT_THAT(hover("(DEFUN F'X |X)"), HasSubstr("A parameter of `F`"));
  EXPECT_THAT(hover("(DEFUN F'X |QUOTE)"), HasSubstr("nothing here assigns"));
  EXPECT_THAT(hover("(DEFUN F (/ X) |X)"), HasSubstr("A local of `F`"));
  EXPECT_THAT(hover("(SETQ SIZE (+ 1 2))\n(LIST |SIZE)"),
              testing::AllOf(HasSubstr("first assigned in"), HasSubstr("line 1"),
                             HasSubstr("(SETQ SIZE (+ 1 2))")));
  EXPECT_THAT(hover("(LIST |SIZE)"), HasSubstr("nothing here assigns"));
}

TEST(Hover, ShowsCommandsAndGroupsOfEntities) {
  EXPECT_THAT(hover("(COMMAND \"cir|cle\" P 3)"), HasSubstr("CIRCLE centre radius"));
  EXPECT_THAT(hover("'((0 \"CIR|CLE\") (40 3))"), HasSubstr("radius"));
  EXPECT_THAT(hover("'((0 \"CIRCLE\") (4|0 3))"), HasSubstr("40  the radius"));
  EXPECT_THAT(hover("(LIST '(0 \"TEXT\") (LIST '|40 3))"), "nothing");
  EXPECT_THAT(hover("(LIST '(0 \"TEXT\") '(4|0 3))"), HasSubstr("height"));
}

TEST(Hover, TellsWhatToWriteForANameOfOtherLanguages) {
  EXPECT_THAT(hover("(FORE|ACH X L 1)"), HasSubstr("is not of this language"));
}

TEST(Hover, IsSilentElsewhere) {
  for (const char* const text : {"|", "; comm|ent", "'(da|ta)", "(LIST 1|2)", "(LIST \"te|xt\")",
                                 "(A)  |  (B)", "(LIST |(B))"}) {
    const std::string found = hover(text);
    EXPECT_TRUE(found == "nothing" || found.find("LIST") != std::string::npos) << text << found;
  }
}

std::string signature(const std::string& marked) {
  MarkedDocument document(marked);
  const auto help = signatureAt(document.unit(), document.offset());
  if (!help) return "none";
  std::string label = help->signature.label;
  if (!help->active) return label;
  const Span& span = help->signature.parameters[*help->active];
  label.insert(span.end, "]");
  return label.insert(span.begin, "[");
}

TEST(SignatureHelp, MarksTheArgumentThatIsTyped) {
  EXPECT_EQ(signature("(POLAR |"), "(POLAR [POINT] ANGLE DISTANCE)");
  EXPECT_EQ(signature("(POLAR P|"), "(POLAR [POINT] ANGLE DISTANCE)");
  EXPECT_EQ(signature("(POLAR P |"), "(POLAR POINT [ANGLE] DISTANCE)");
  EXPECT_EQ(signature("(POLAR (LIST 1 2) 0 |)"), "(POLAR POINT ANGLE [DISTANCE])");
  EXPECT_EQ(signature("(POLAR P 0 1 |)"), "(POLAR POINT ANGLE DISTANCE)");
  EXPECT_EQ(signature("(LIST 1 2 |)"), "(LIST [VALUE] ...)");
  EXPECT_EQ(signature("(SETQ A 1 B |)"), "(SETQ NAME [VALUE] ...)");
  EXPECT_EQ(signature("(TRANS P 0 |)"), "(TRANS POINT SOURCE [TARGET])");
  EXPECT_EQ(signature("(DEFUN F |"), "(DEFUN NAME [(PARAMETER ... / LOCAL ...)] FORM ...)");
  EXPECT_EQ(signature("(DEFUN F (A B) A)\n(F 1 |"), "(F A [B])");
}

TEST(SignatureHelp, IsSilentOutsideOfCalls) {
  for (const char* const text :
       {"|", "(|", "(UNKNOWN |)", "'(POLAR |)", "(POLAR P)|", "((LIST) |)"}) {
    EXPECT_EQ(signature(text), "none") << text;
  }
}

}  // namespace
}  // namespace lisp_worker::console::language
