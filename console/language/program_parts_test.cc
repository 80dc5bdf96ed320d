#include "console/language/program_parts.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace lisp_worker::console::language {
namespace {

const std::string kComment = "; " + std::string(300, 'x') + "\n";

// The name in front of each form that could be read.
std::vector<std::string> names(const ProgramParts& parts) {
  std::vector<std::string> names;
  for (const PlacedPart& part : parts.all()) {
    for (const explain::Form& form : part.part->forms()) names.emplace_back(form.operatorName());
  }
  return names;
}

using Names = std::vector<std::string>;

TEST(ProgramParts, CoverTheText) {
  const std::string text = kComment + "(A)\n" + kComment + "(B 1) (C)\n" + kComment;
  const ProgramParts parts(text);
  std::string joined;
  for (const PlacedPart& part : parts.all()) {
    EXPECT_EQ(part.begin, joined.size());
    joined += part.part->text();
  }
  EXPECT_EQ(joined, text);
  EXPECT_GE(parts.all().size(), 2U);
  EXPECT_EQ(names(parts), (Names{"A", "B", "C"}));
}

TEST(ProgramParts, OfAnEmptyTextAreNone) { EXPECT_TRUE(ProgramParts("").all().empty()); }

TEST(ProgramParts, ReadFormsAroundOneThatIsNotClosed) {
  EXPECT_EQ(names(ProgramParts("(A)\n(B (C 1)\n(D)\n(E)\n")), (Names{"A", "B", "D", "E"}));
  EXPECT_EQ(names(ProgramParts("(A)\n(B \"text\n(D)\n(E)\n")), (Names{"A", "B", "D", "E"}));
  EXPECT_EQ(names(ProgramParts("(A)\n(B")), (Names{"A", "B"}));
  EXPECT_EQ(names(ProgramParts("(A \"x\\")), (Names{"A"}));
  EXPECT_EQ(names(ProgramParts("(A ; comment")), (Names{"A"}));
}

TEST(ProgramParts, ReadFormsAroundAParenthesisTooMany) {
  EXPECT_EQ(names(ProgramParts("(A))\n(B)\n)(C)")), (Names{"A", "B", "C"}));
}

TEST(ProgramParts, LeaveAFormWholeWhoseLinesBeginAtTheMargin) {
  EXPECT_EQ(names(ProgramParts("(DEFUN F ()\n(A)\n(B)\n)\n(C)\n")), (Names{"DEFUN", "C"}));
}

TEST(ProgramParts, OfManyOpenFormsAreFoundInLinearTime) {
  std::string text;
  for (int n = 0; n < 20000; ++n) text += "(A (B\n";
  const ProgramParts parts(text);
  EXPECT_EQ(names(parts).size(), 20000U);
}

TEST(ProgramParts, KeepWhatAnEditHasNotChanged) {
  std::string text;
  for (int n = 0; n < 20; ++n) text += kComment + "(F" + std::to_string(n) + ")\n";
  ProgramParts parts(text);
  const std::vector<PlacedPart> before = parts.all();
  text.insert(text.find("F10"), "NEW ");
  parts.update(text);
  std::size_t kept = 0;
  for (const PlacedPart& part : parts.all()) {
    for (const PlacedPart& old : before) kept += old.part == part.part ? 1U : 0U;
  }
  EXPECT_EQ(kept + 1, before.size());
  EXPECT_EQ(names(parts), names(ProgramParts(text)));
}

TEST(FormsAround, GoFromTheOutermostToTheInnermost) {
  const ProgramParts parts("(A '(B c) d)");
  const Part& part = *parts.all().front().part;
  const auto texts = [&part](std::size_t offset) {
    std::vector<std::string> found;
    for (const explain::Form* const form : formsAround(part, offset)) {
      const Span span = part.spanOf(*form);
      found.emplace_back(part.text().substr(span.begin, span.size()));
    }
    return found;
  };
  EXPECT_EQ(texts(6), (Names{"(A '(B c) d)", "'(B c)", "(B c)", "B"}));
  EXPECT_EQ(texts(11), (Names{"(A '(B c) d)", "d"}));
  EXPECT_EQ(texts(12), Names());
}

}  // namespace
}  // namespace lisp_worker::console::language
