// docs/EMBEDDING.md shows its examples as they are: the files that the tests build and run.

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <set>
#include <string>

#include "testing/formats/document_examples.h"

namespace lisp_worker::testing_support {
namespace {

namespace fs = std::filesystem;

// The blocks of the document.
std::set<std::string> shownBlocks() {
  std::set<std::string> blocks;
  for (const DocumentBlock& block : fencedBlocks(readSource("docs/EMBEDDING.md"))) {
    blocks.insert(block.text);
  }
  return blocks;
}

TEST(EmbeddingDocument, ShowsEveryExampleAndWhatItPrints) {
  const std::set<std::string> blocks = shownBlocks();
  std::size_t count = 0;
  for (const auto& file : fs::directory_iterator(sourceDirectory() / "examples/embedding")) {
    const fs::path name = file.path().filename();
    EXPECT_TRUE(blocks.contains(readSource("examples/embedding" / name))) << name;
    ++count;
  }
  EXPECT_GE(count, 15u);
}

TEST(EmbeddingDocument, HasNoCodeThatIsNotAnExample) {
  std::set<std::string> examples;
  for (const auto& file : fs::directory_iterator(sourceDirectory() / "examples/embedding")) {
    examples.insert(readSource("examples/embedding" / file.path().filename()));
  }
  for (const DocumentBlock& block : fencedBlocks(readSource("docs/EMBEDDING.md"))) {
    if (block.info == "sh") continue;  // Commands, which the packages' check runs.
    EXPECT_TRUE(examples.contains(block.text)) << "line " << block.line;
  }
}

// A program of ten lines, as the text promises.
TEST(EmbeddingDocument, BeginsWithTenLines) {
  const std::string first = readSource("examples/embedding/first_host.cc");
  EXPECT_LE(std::count(first.begin(), first.end(), '\n'), 10);
}

}  // namespace
}  // namespace lisp_worker::testing_support
