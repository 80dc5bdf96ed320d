// `lisp_console debug` as its user meets it: a program with arguments, input, output and an exit
// code.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "testing/base/command_output.h"
#include "testing/base/test_environment.h"

namespace lisp_worker::console {
namespace {

using testing::HasSubstr;
using testing::StartsWith;
using testing_support::CommandOutput;
using testing_support::environment;
using testing_support::runCommand;

class DebugProgram : public testing::Test {
 protected:
  DebugProgram() { std::filesystem::create_directory(directory_); }
  ~DebugProgram() override { std::filesystem::remove_all(directory_); }

  void write(const std::string& name, const std::string& text) const {
    std::ofstream(directory_ / name, std::ios::binary) << text;
  }

  // Debugs the program of this text with these lines as input.
  [[nodiscard]] CommandOutput debug(const std::string& text, const std::string& input,
                                    const std::string& options = "") const {
    write("p.lsp", text);
    write("input", input);
    return runCommand("cd '" + directory_.string() + "' && '" + environment("LISP_CONSOLE_PATH") +
                      "' debug p.lsp --worker '" + environment("LISP_WORKER_PATH") + "' " +
                      options + " <input 2>&1");
  }

 private:
  std::filesystem::path directory_ =
      std::filesystem::temp_directory_path() / ("lisp_debug_test." + std::to_string(::getpid()));
};

TEST_F(DebugProgram, ReadsCommandsUntilTheInputEnds) {
  const CommandOutput output = debug("(SETQ A 1)\n(LIST A)\n", "over\nprint A\n");
  EXPECT_EQ(output.text,
            "p.lsp: = (1), after 4 steps and 0 host calls\n"
            "p.lsp:1:1   step 1 of 4\n"
            "    1 | (SETQ A 1)\n"
            "      | ^^^^^^^^^^\n"
            "(SETQ A 1) = 1\n"
            "p.lsp:2:1   step 3 of 4\n"
            "    2 | (LIST A)\n"
            "      | ^^^^^^^^\n"
            "= 1\n");
  EXPECT_EQ(output.exit_code, 0);
}

TEST_F(DebugProgram, StopsReadingAtQuit) {
  const CommandOutput output = debug("1\n", "quit\nprint 5\n");
  EXPECT_THAT(output.text, testing::Not(HasSubstr("= 5")));
  EXPECT_EQ(output.exit_code, 0);
}

TEST_F(DebugProgram, BeginsAtTheErrorWhereThatIsWanted) {
  EXPECT_THAT(debug("(SETQ A 0)\n(/ 1 A)\n", "why A\n", "--at-error").text,
              StartsWith("p.lsp: division by zero, after 5 steps and 0 host calls\n"
                         "p.lsp:2:1   step 3 of 5\n"));
}

TEST_F(DebugProgram, TakesLibrariesDrawingsAndAnswers) {
  write("lib.lsp", "(DEFUN TWICE (X) (* 2 X))");
  write("answers", "GETDIST 21\n");
  const CommandOutput output =
      debug("(TWICE (GETDIST))", "break TWICE\nc\nprint X\n", "--load lib.lsp --answers answers");
  EXPECT_THAT(output.text, StartsWith("p.lsp: = 42, after"));
  EXPECT_THAT(output.text, HasSubstr("\n= 21\n"));
}

// The questions come before the debugger does; both read the same input.
TEST_F(DebugProgram, AsksForPicks) {
  EXPECT_THAT(debug("(CAR (GETPOINT \"From: \"))", "10,20\nprint (+ 1 1)\n", "--ask").text,
              testing::AllOf(StartsWith("From: "), HasSubstr("p.lsp: = 10, after"),
                             testing::EndsWith("= 2\n")));
}

TEST_F(DebugProgram, OfATextThatCannotBeReadTellsWhy) {
  const CommandOutput output = debug("(CAR '(1)", "");
  EXPECT_THAT(output.text, HasSubstr("unterminated list"));
  EXPECT_EQ(output.exit_code, 1);
}

TEST_F(DebugProgram, OfALibraryThatCannotBeReadTellsWhy) {
  write("lib.lsp", "(DEFUN");
  const CommandOutput output = debug("1", "", "--load lib.lsp");
  EXPECT_THAT(output.text, HasSubstr("lib.lsp: cannot be loaded: unterminated list"));
  EXPECT_EQ(output.exit_code, 1);
}

TEST_F(DebugProgram, PrintsNoControlCharacters) {
  EXPECT_THAT(debug("(SETQ A \"\x1b[31m\")\n", "over\nvars\n").text,
              testing::Not(HasSubstr("\x1b")));
}

}  // namespace
}  // namespace lisp_worker::console
