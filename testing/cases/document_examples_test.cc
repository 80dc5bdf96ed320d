#include "testing/formats/document_examples.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

#include "testing/workers/real_worker.h"

namespace testing_support {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

std::vector<std::string> faultsOf(const std::string& text) {
  const ProgramFile file = parseExamples({10, "", "lisp", text});
  if (!file.errors.empty()) return file.errors;
  RealWorker worker;
  return runProgramFile(file, worker);
}

TEST(DocumentExamples, TakeWhatHolds) {
  EXPECT_THAT(faultsOf("(SETQ A 1)\n; => 1\n;; more\n\nA  ; trailing\n; => 1\n; steps: 1\n"),
              IsEmpty());
  EXPECT_THAT(faultsOf("A\n; error: unbound symbol: A\n(\n; read error: unterminated list\n"),
              IsEmpty());
  EXPECT_THAT(faultsOf("(WHILE T)\n; step limit: LISP evaluation step limit exceeded\n"),
              IsEmpty());
  EXPECT_THAT(faultsOf("(GETDIST 1 2)\n; host call: GETDIST (1 2)\n; answer: 5\n; => 5\n"),
              IsEmpty());
  EXPECT_THAT(faultsOf("; system 1: 10 20 1 0 0 1 1 0\n(TRANS '(1 2) 1 0)\n; => (11 22 0)\n"
                       "; system 1: 0 0 2 0 0 2 1 0\n(TRANS '(1 2) 1 0)\n; => (2 4 0)\n"),
              IsEmpty());
}

TEST(DocumentExamples, ReportWhatDoesNotHold) {
  EXPECT_THAT(faultsOf("1\n\n; => 2\n"), ElementsAre("12: the answer is status 0, steps 1: 1"));
  EXPECT_THAT(faultsOf("1\n; error: 1\n"), ElementsAre("11: the answer is status 0, steps 1: 1"));
  EXPECT_THAT(faultsOf("1\n; => 1\n; steps: 2\n"),
              ElementsAre("12: the answer is status 0, steps 1: 1"));
  EXPECT_THAT(faultsOf("1\n; status: 3\n"), ElementsAre("11: the answer is status 0, steps 1: 1"));
  EXPECT_THAT(faultsOf("(SSGET)\n; host call: SSGET (1)\n"),
              ElementsAre("11: the answer is status 11, steps 1, run 1, call SSGET: ()"));
}

TEST(DocumentExamples, ReportTheirOwnMistakes) {
  EXPECT_THAT(faultsOf("1\n"), ElementsAre("11: a request without an expected answer"));
  EXPECT_THAT(faultsOf("1\n; just a remark\n"), Contains("11: not a directive"));
  EXPECT_THAT(faultsOf("1\n; => 1\n; => 1\n"),
              ElementsAre("12: an answer that no request asks for"));
  EXPECT_THAT(faultsOf("1\n; steps: 1\n; => 1\n"), ElementsAre("11: a detail before the answer"));
  EXPECT_THAT(faultsOf("1\n; answer: 1\n; => 1\n"),
              ElementsAre("11: a request without an expected answer"));
  EXPECT_THAT(faultsOf("; system 5: 0 0 1 0 0 1 1 0\n"),
              ElementsAre("10: not a system and its eight numbers"));
  EXPECT_THAT(faultsOf("; system 1: 0 0 1\n"),
              ElementsAre("10: not a system and its eight numbers"));
}

TEST(DocumentExamples, KnowTheProgramsThatCallAName) {
  const ProgramFile file = parseExamples({1, "", "lisp", "(LIST (1+ 2) 'CAR)\n; => (3 CAR)\n"});
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
}  // namespace testing_support
