#include "testing/formats/document_examples.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

namespace lisp_worker::testing_support {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST(DocumentExamples, KnowTheProgramsThatCallAName) {
  const ProgramFile file = parseProgramFile("(LIST (1+ 2) 'CAR)\n; => (3 CAR)\n");
  EXPECT_TRUE(calls(file, "LIST"));
  EXPECT_TRUE(calls(file, "1+"));
  EXPECT_FALSE(calls(file, "1"));
  EXPECT_FALSE(calls(file, "CAR"));
}

TEST(DocumentBlocks, LieUnderTheirHeadings) {
  const std::string text = "# Top\n```lisp\n1\n2\n```\n## `A` ##\nx\n```\n# no heading\n```\n";
  const std::vector<DocumentBlock> blocks = fencedBlocks(text);
  ASSERT_EQ(blocks.size(), 2u);
  EXPECT_EQ(blocks[0].heading, "Top");
  EXPECT_EQ(blocks[0].info, "lisp");
  EXPECT_EQ(blocks[0].line, 3);
  EXPECT_EQ(blocks[0].text, "1\n2\n");
  EXPECT_EQ(blocks[1].heading, "`A` ##");
  EXPECT_EQ(blocks[1].text, "# no heading\n");
}

TEST(DocumentHex, IsBytesAndRemarks) {
  EXPECT_EQ(bytesOfHex("4b 4C   \"KL\"\n00\n"), std::string("KL\0", 3));
  EXPECT_EQ(bytesOfHex("4b 4\n"), std::nullopt);
  EXPECT_EQ(bytesOfHex("4b4c\n"), std::nullopt);
  EXPECT_EQ(bytesOfHex("4b remark\n"), std::nullopt);
  EXPECT_EQ(bytesOfHex("\n"), std::nullopt);
}

TEST(DocumentTables, AreCellsUnderAHeading) {
  const std::string text = "# A\n| x | y |\n|---|---|\n| 1 | `b` |\n# B\n| 2 |\n";
  EXPECT_THAT(tableRows(text, "A"), ElementsAre(ElementsAre("x", "y"), ElementsAre("---", "---"),
                                                ElementsAre("1", "`b`")));
  EXPECT_THAT(tableRows(text, "C"), IsEmpty());
  EXPECT_THAT(codeSpans("a `b` c `d e`"), ElementsAre("b", "d e"));
}

TEST(MessagePatterns, FitWhatStandsInTheirBrackets) {
  EXPECT_TRUE(fitsPattern("division by zero", "division by zero"));
  EXPECT_FALSE(fitsPattern("division by zero ", "division by zero"));
  EXPECT_TRUE(fitsPattern("unbound symbol: X", "unbound symbol: <name>"));
  EXPECT_FALSE(fitsPattern("unbound symbol: ", "unbound symbol: <name>"));
  EXPECT_TRUE(fitsPattern("call 12: SSGET", "call <number>: <name>"));
  EXPECT_FALSE(fitsPattern("+ expects number", "<name> expects numbers"));
}

}  // namespace
}  // namespace lisp_worker::testing_support
