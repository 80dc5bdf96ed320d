// The documents, checked against the tree: a conversation, files, links, names, commands.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <cstddef>
#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "console/script.h"
#include "console/session.h"
#include "lisp_worker/client/process.h"
#include "lisp_worker/client/worker_client.h"
#include "testing/formats/document_examples.h"
#include "testing/workers/executable_worker.h"

namespace lisp_worker::testing_support {
namespace {

namespace fs = std::filesystem;
using testing::AnyOf;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;
using testing::UnorderedElementsAreArray;

constexpr std::string_view kDocuments[] = {
    "CONTRIBUTING.md",  "README.md",           "CHANGELOG.md",         "NOTICES.md",
    "SECURITY.md",      "testing/README.md",   "docs/ARCHITECTURE.md", "docs/LANGUAGE.md",
    "docs/PROTOCOL.md", "docs/SESSIONS.md",    "docs/EMBEDDING.md",    "docs/GUARANTEES.md",
    "docs/TUTORIAL.md", "docs/PERFORMANCE.md", "docs/ENTITIES.md",     "docs/DEBUGGER.md",
    "docs/EDITORS.md"};

// --- The conversation in the README -----------------------------------------------------------

// The text of the only block of this kind.
std::string blockOf(std::string_view document, std::string_view info) {
  std::string text;
  for (const DocumentBlock& block : fencedBlocks(readSource(document))) {
    if (block.info != info) continue;
    EXPECT_THAT(text, IsEmpty()) << "a second block at line " << block.line;
    text = block.text;
  }
  return text;
}

TEST(ReadmeDocument, ShowsWhatTheConsolePrints) {
  const std::string program = blockOf("README.md", "lsp");
  const std::string shown = blockOf("README.md", "console");
  ASSERT_THAT(shown, HasSubstr("EvalResume"));
  std::string error;
  const std::optional<console::Script> script = console::readScript(program, error);
  ASSERT_TRUE(script.has_value()) << error;

  const std::unique_ptr<client::WorkerProcess> process =
      client::startWorker(workerExecutable(), &error);
  ASSERT_NE(process, nullptr) << error;
  client::WorkerClient worker(*process);
  std::ostringstream printed;
  console::Session session(worker, printed);
  EXPECT_EQ(session.run("points.lsp", program, *script), console::ProgramEnd::AsExpected);
  EXPECT_EQ(printed.str(), shown + "\n");
}

// --- What documents point at ------------------------------------------------------------------

// A document without its fenced blocks.
std::string proseOf(std::string_view document) {
  std::istringstream lines(readSource(document));
  std::string prose;
  std::string line;
  for (bool in_block = false; std::getline(lines, line);) {
    const bool is_fence = line.starts_with("```");
    if (!is_fence && !in_block) prose += line + "\n";
    in_block = in_block != is_fence;
  }
  return prose;
}

TEST(Documents, NameFilesThatExist) {
  static const std::regex kPath("[a-z]+/[\\w/]+\\.(?:h|cc|md|cmake|txt)|[a-z]+/|\\w+\\.md");
  for (const std::string_view document : kDocuments) {
    SCOPED_TRACE(document);
    const std::string prose = proseOf(document);
    EXPECT_FALSE(prose.empty());
    for (const std::string& span : codeSpans(prose)) {
      if (!std::regex_match(span, kPath) || span == "build/") continue;
      const fs::path beside = fs::path(document).parent_path() / span;
      EXPECT_TRUE(fs::exists(sourceDirectory() / span) || fs::exists(sourceDirectory() / beside))
          << span;
    }
  }
}

// All C++ sources and tests, from the top.
std::vector<fs::path> allFiles() {
  std::vector<fs::path> files;
  for (const char* directory :
       {"lisp", "host", "geometry", "worker", "client", "session", "c_interface", "explain",
        "check", "trace", "console", "testing", "fuzz"}) {
    for (const fs::directory_entry& file :
         fs::recursive_directory_iterator(sourceDirectory() / directory)) {
      const std::string extension = file.path().extension().string();
      if (extension != ".h" && extension != ".cc") continue;
      files.push_back(fs::relative(file.path(), sourceDirectory()));
    }
  }
  return files;
}

bool isTest(const fs::path& file) { return file.filename().string().ends_with("_test.cc"); }

// All C++ sources but the tests, one after the other.
std::string allSources() {
  std::string sources;
  for (const fs::path& file : allFiles()) {
    if (!isTest(file)) sources += readSource(file);
  }
  return sources;
}

bool isWordOf(std::string_view text, std::string_view word) {
  const auto is_letter = [text](std::size_t at) {
    return at < text.size() &&
           (std::isalnum(static_cast<unsigned char>(text[at])) != 0 || text[at] == '_');
  };
  for (std::size_t at = text.find(word); at != text.npos; at = text.find(word, at + 1)) {
    if (!is_letter(at - 1) && !is_letter(at + word.size())) return true;
  }
  return false;
}

// The texts of the first group of `pattern`, one for each match.
std::vector<std::string> groupsIn(const std::string& text, const std::regex& pattern) {
  return {std::sregex_token_iterator(text.begin(), text.end(), pattern, 1), {}};
}

// All tests, one after the other.
std::string allTests() {
  std::string tests;
  for (const fs::path& file : allFiles()) {
    if (isTest(file)) tests += readSource(file);
  }
  return tests;
}

TEST(ContributingDocument, NamesTestsThatExist) {
  static const std::regex kTest("([A-Z]\\w+)\\.([A-Z]\\w+)");
  const std::string tests = allTests();
  std::size_t count = 0;
  for (const std::string& span : codeSpans(proseOf("CONTRIBUTING.md"))) {
    std::smatch name;
    if (!std::regex_match(span, name, kTest)) continue;
    EXPECT_THAT(tests, HasSubstr("(" + name[1].str() + ", " + name[2].str() + ")"));
    ++count;
  }
  EXPECT_GT(count, 10u);
}

// `./dev test --only` finds the program of a test by its suite.
TEST(TestSuites, AreEachInOneDirectory) {
  static const std::regex kSuite("(?:TEST|TEST_F|TEST_P)\\((?:::)?(\\w+),.*");
  std::map<std::string, std::set<std::string>> directories;
  for (const fs::path& file : allFiles()) {
    if (!isTest(file)) continue;
    std::istringstream lines(readSource(file));
    for (std::string line; std::getline(lines, line);) {
      std::smatch suite;
      if (!line.starts_with("TEST") || !std::regex_match(line, suite, kSuite)) continue;
      directories[suite[1]].insert(file.begin()->string());
    }
  }
  EXPECT_GT(directories.size(), 100u);
  for (const auto& [suite, in] : directories) EXPECT_THAT(in, SizeIs(1)) << suite;
}

TEST(ArchitectureDocument, NamesCodeThatExists) {
  static const std::regex kName("(?:\\w+::)*([A-Za-z_]\\w+)");
  // The steps of `./dev check` are names, too.
  const std::string sources = allSources() + readSource("cmake/checks/CMakeLists.txt");
  std::size_t count = 0;
  for (const std::string& span :
       codeSpans(proseOf("docs/ARCHITECTURE.md") + proseOf("CONTRIBUTING.md"))) {
    std::smatch name;
    if (!std::regex_match(span, name, kName)) continue;
    EXPECT_TRUE(isWordOf(sources, name[1].str())) << span;
    ++count;
  }
  EXPECT_GT(count, 50u);
}

// The names in the first column of a table in testing/README.md.
std::vector<std::string> namesUnder(std::string_view heading) {
  std::vector<std::string> names;
  for (const auto& row : tableRows(readSource("testing/README.md"), heading)) {
    for (std::string& name : codeSpans(row.front())) names.push_back(std::move(name));
  }
  return names;
}

TEST(TestingDocument, ListsEveryVariableAndWhoReadsIt) {
  static const std::regex kRead("(?:getenv|environment|setting)\\(\\s*\"(LISP_\\w+)\"");
  std::set<std::string> read;
  for (const fs::path& file : allFiles()) {
    for (const std::string& name : groupsIn(readSource(file), kRead)) read.insert(name);
  }
  EXPECT_GT(read.size(), 10u);
  EXPECT_THAT(namesUnder("Environment variables"), UnorderedElementsAreArray(read));
  for (const auto& row : tableRows(readSource("testing/README.md"), "Environment variables")) {
    const std::vector<std::string> spans = codeSpans(row[0] + row[1]);
    if (spans.size() != 2) continue;  // The head and its rule.
    EXPECT_THAT(readSource(spans[1]), HasSubstr('"' + spans[0] + '"')) << spans[1];
  }
}

TEST(TestingDocument, ListsEveryRandomTest) {
  std::vector<std::string> random_tests;
  for (const fs::path& file : allFiles()) {
    const std::string source = readSource(file);
    if (isTest(file) && (source.find("testing/base/random.h\"") != source.npos ||
                         source.find("testing/generators/conversation.h\"") != source.npos)) {
      random_tests.push_back(file.generic_string());
    }
  }
  EXPECT_GT(random_tests.size(), 10u);
  EXPECT_THAT(namesUnder("Seeds"), UnorderedElementsAreArray(random_tests));
}

TEST(Documents, LinkToFilesAndHeadingsThatExist) {
  static const std::regex kLink("\\]\\(([^)#]*)(?:#([^)]*))?\\)");
  for (const std::string_view document : kDocuments) {
    SCOPED_TRACE(document);
    const std::string prose = proseOf(document);
    for (std::sregex_iterator link(prose.begin(), prose.end(), kLink), end; link != end; ++link) {
      const std::string target = (*link)[1];
      const std::string anchor = (*link)[2];
      const fs::path path =
          target.empty() ? fs::path(document) : fs::path(document).parent_path() / target;
      ASSERT_TRUE(fs::exists(sourceDirectory() / path)) << target;
      if (anchor.empty()) continue;
      // The anchor of a heading is its words in lower case with hyphens between them.
      std::string heading = anchor;
      std::replace(heading.begin(), heading.end(), '-', ' ');
      const std::regex kHeading("\n#+ " + heading + "\r?\n", std::regex::icase);
      EXPECT_TRUE(std::regex_search(readSource(path), kHeading)) << anchor;
    }
  }
}

TEST(ChangesDocument, BeginsWithThisVersion) {
  const std::string changes = readSource("CHANGELOG.md");
  EXPECT_THAT(projectVersion(), Not(IsEmpty()));
  EXPECT_EQ(changes.find("\n## "), changes.find("\n## " + projectVersion() + "\n"));
}

TEST(Documents, NameCommandsThatExist) {
  static const std::regex kCommand("\\./dev ([a-z_]+)");
  const std::string script = readSource("dev");
  std::size_t count = 0;
  for (const std::string_view document : kDocuments) {
    for (const std::string& name : groupsIn(readSource(document), kCommand)) {
      EXPECT_THAT(script,
                  AnyOf(HasSubstr("\ncommand_" + name + "()"), HasSubstr("\n" + name + "()")))
          << document;
      ++count;
    }
  }
  EXPECT_GT(count, 5u);
}

}  // namespace
}  // namespace lisp_worker::testing_support
