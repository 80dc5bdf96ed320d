// docs/TUTORIAL.md and the beginning of README.md, checked against the console: every command on
// them is executed.
//
// ./dev run builds the console and starts it where the caller stands with the same arguments; here,
// where it has been built, it is started at once.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <sstream>
#include <string>

#include "console/files.h"
#include "testing/base/command_output.h"
#include "testing/base/test_environment.h"
#include "testing/formats/document_examples.h"

namespace lisp_worker::console {
namespace {

using testing::HasSubstr;
using testing_support::DocumentBlock;
using testing_support::environment;
using testing_support::runCommand;

class Tutorial : public testing::Test {
 protected:
  Tutorial() {
    std::filesystem::create_directories(directory_);
    std::filesystem::create_directory_symlink(
        std::filesystem::path(environment("LISP_SOURCE_DIR")) / "examples",
        directory_ / "examples");
  }
  ~Tutorial() override { std::filesystem::remove_all(directory_); }

  // The console's output for these arguments and lines of input.
  [[nodiscard]] std::string run(const std::string& arguments, const std::string& input) const {
    write("input.txt", input);
    const std::string command = "cd '" + directory_.string() + "' && '" +
                                environment("LISP_CONSOLE_PATH") + "' " + arguments +
                                " <input.txt 2>&1";
    return runCommand(command).text;
  }

  void write(const std::string& name, const std::string& text) const {
    std::string error;
    EXPECT_TRUE(writeFile((directory_ / name).string(), text, error)) << error;
  }

  [[nodiscard]] bool exists(const std::string& name) const {
    return std::filesystem::exists(directory_ / name);
  }

  // A block of commands, each with what it prints below it.
  int runCommands(const DocumentBlock& block) {
    const std::string kCommand = "$ ./dev run ";
    const std::string kQuestion = "Corner: ";  // The text after it is typed.
    std::istringstream lines(block.text);
    std::string arguments;
    std::string input;
    std::string expected;
    int count = 0;
    const auto finish = [&] {
      if (!arguments.empty()) {
        EXPECT_EQ(run(arguments, input), expected) << arguments;
      }
      executed_ += "./dev run " + arguments + "\n";
      expected.clear();
      input.clear();
    };
    for (std::string line; std::getline(lines, line);) {
      if (line.starts_with(kCommand)) {
        if (count != 0) finish();
        arguments = line.substr(kCommand.size());
        ++count;
      } else if (line.starts_with(kQuestion)) {
        input += line.substr(kQuestion.size()) + "\n";
        expected += line + "\n";
      } else {
        expected += line + "\n";
      }
    }
    finish();
    return count;
  }

  // A session at the prompt. A pipe has no greeting and no prompts, and echoes nothing.
  void runPrompt(const DocumentBlock& block) {
    std::istringstream lines(block.text);
    std::string input;
    std::string expected;
    for (std::string line; std::getline(lines, line);) {
      if (line.starts_with("A form is run when")) continue;
      if (line.starts_with("lisp> ")) {
        input += line.substr(6) + "\n";
      } else if (line.starts_with("        ")) {
        input += line + "\n";
      } else {
        expected += line + "\n";
      }
    }
    EXPECT_EQ(run("", input), expected);
    executed_ += "./dev prompt\n";
  }

  // A command that prints an address and goes on until Ctrl-C.
  void runWatch(const std::string& text) const {
    const std::string kCommand = "./dev run watch ";
    ASSERT_TRUE(text.starts_with(kCommand)) << text;
    const std::string file = text.substr(kCommand.size(), text.size() - kCommand.size() - 1);
    const std::string output =
        runCommand("cd '" + directory_.string() + "' && timeout --preserve-status -s INT 1 '" +
                   environment("LISP_CONSOLE_PATH") + "' watch " + file + " 2>&1")
            .text;
    EXPECT_THAT(output, testing::StartsWith("watching " + file + " at http://127.0.0.1:"));
  }

  std::string executed_;  // The commands, in lines.

 private:
  std::filesystem::path directory_ =
      std::filesystem::temp_directory_path() / ("lisp_tutorial_test." + std::to_string(::getpid()));
};

TEST_F(Tutorial, ShowsCommandsAndWhatTheyPrint) {
  const std::string document = testing_support::readSource("docs/TUTORIAL.md");
  std::string prose = document;
  int command_count = 0;
  int prompt_count = 0;
  for (const DocumentBlock& block : testing_support::fencedBlocks(document)) {
    prose.erase(prose.find("```" + block.info + "\n" + block.text),
                2 * 3 + 1 + block.info.size() + block.text.size());
    SCOPED_TRACE("line " + std::to_string(block.line));
    if (block.info.starts_with("lsp ")) {
      write(block.info.substr(4), block.text);
    } else if (block.info == "console") {
      command_count += runCommands(block);
    } else if (block.info == "prompt") {
      runPrompt(block);
      ++prompt_count;
    } else {
      EXPECT_EQ(block.info, "sh");
      executed_ += block.text;
      if (block.text != "./dev run\n") runWatch(block.text);  // The other is for the next test.
    }
  }
  // Commands in sentences are executed too.
  EXPECT_THAT(run("--help", ""), HasSubstr("--picture"));
  executed_ += "./dev run --help\n";
  for (const std::string& span : testing_support::codeSpans(prose)) {
    if (!span.starts_with("./dev") && !span.starts_with("--")) continue;
    EXPECT_THAT(executed_, HasSubstr(span));
  }
  EXPECT_EQ(command_count, 19);
  EXPECT_EQ(prompt_count, 1);
  for (const char* const file :
       {"flange.svg", "changed.svg", "changed.json", "square.pdf", "corner.svg"}) {
    EXPECT_TRUE(exists(file)) << file;
  }
}

TEST_F(Tutorial, IsBegunInTheReadme) {
  int command_count = 0;
  for (const DocumentBlock& block :
       testing_support::fencedBlocks(testing_support::readSource("README.md"))) {
    if (block.info.starts_with("lsp ")) write(block.info.substr(4), block.text);
    if (block.info.starts_with("console ")) command_count += runCommands(block);
  }
  EXPECT_EQ(command_count, 1);
  EXPECT_TRUE(exists("plate.svg"));
}

TEST_F(Tutorial, BeginsWithTheExampleThatDevRuns) {
  const std::string dev = testing_support::readSource("dev");
  EXPECT_THAT(dev, HasSubstr("examples/16_numbering.lsp\" --picture"));
  const std::string output = run("examples/16_numbering.lsp --picture n.svg --picture n.png", "");
  EXPECT_THAT(output, HasSubstr("picture: n.svg\npicture: n.png\n"));
  EXPECT_TRUE(exists("n.svg") && exists("n.png"));
}

}  // namespace
}  // namespace lisp_worker::console
