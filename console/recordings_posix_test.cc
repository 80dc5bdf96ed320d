// Recording and testing programs as a user does: with the console as a program, and a worker.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

#include "testing/base/command_output.h"
#include "testing/base/test_environment.h"

namespace lisp_worker::console {
namespace {

using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing_support::environment;
using testing_support::runCommand;

class RecordingConsole : public testing::Test {
 protected:
  RecordingConsole() { std::filesystem::create_directory(directory_); }
  ~RecordingConsole() override { std::filesystem::remove_all(directory_); }

  void write(const std::string& name, const std::string& text) const {
    std::ofstream(directory_ / name, std::ios::binary) << text;
  }

  [[nodiscard]] std::string written(const std::string& name) const {
    std::ostringstream text;
    text << std::ifstream(directory_ / name, std::ios::binary).rdbuf();
    return text.str();
  }

  // In the directory, so that names in the output are short.
  void run(const std::string& arguments) {
    const testing_support::CommandOutput result =
        runCommand("cd '" + directory_.string() + "' && '" + environment("LISP_CONSOLE_PATH") +
                   "' " + arguments + " --worker '" + worker_path + "' </dev/null 2>&1");
    output = result.text;
    exit_code = result.exit_code;
  }

  std::string worker_path = environment("LISP_WORKER_PATH");
  std::string output;
  int exit_code = -1;

 private:
  std::filesystem::path directory_ = std::filesystem::temp_directory_path() /
                                     ("lisp_recordings_test." + std::to_string(::getpid()));
};

TEST_F(RecordingConsole, ListsTracesProfilesAndCoverageOfProgramsAndLibraries) {
  write("lib.lsp", "(DEFUN TWICE (X)\n  (* X 2))\n(DEFUN NEVER ()\n  1)\n");
  write("a.lsp",
        ";@ load lib.lsp\n(ENTMAKE (LIST '(0 \"CIRCLE\") '(10 (0 0)) '(40 5)))\n"
        "(TWICE 4)\n");
  write("b.lsp", ";@ load lib.lsp\n(TWICE \"x\")\n");
  run("--trace --profile --coverage --coverage-file out.info a.lsp b.lsp");
  EXPECT_EQ(exit_code, 1);
  EXPECT_THAT(output,
              HasSubstr("== trace of a.lsp: 2 calls\n"
                        "a.lsp:2:1               1  (ENTMAKE ((0 \"CIRCLE\") (10 (0 0)) (40 "
                        "5))) = ((0 \"CIRCLE\") (10 (0 0)) (40 5))\n"
                        "a.lsp:3:1               1  (TWICE 4) = 8\n"
                        "== trace of b.lsp: 1 call\n"
                        "b.lsp:2:1               1  (TWICE \"x\"): did not return\n"));
  EXPECT_THAT(output, HasSubstr("  TWICE  lib.lsp:1\n"));
  EXPECT_THAT(output, HasSubstr("== lines of lib.lsp\n"));
  EXPECT_THAT(output, HasSubstr("== coverage of lib.lsp: 3 of 4 lines (75.0%)\n"
                                "        2 |    1 | (DEFUN TWICE (X)\n"
                                "        2 |    2 |   (* X 2))\n"
                                "        2 |    3 | (DEFUN NEVER ()\n"
                                "    ##### |    4 |   1)\n"));
  EXPECT_THAT(output, HasSubstr("== coverage of b.lsp: 1 of 1 line (100.0%)\n"));
  EXPECT_THAT(output, HasSubstr("coverage: out.info\n"));
  EXPECT_THAT(written("out.info"), HasSubstr("SF:lib.lsp\nFN:1,TWICE\nFN:3,NEVER\n"));
}

TEST_F(RecordingConsole, RefusesAFileThatCannotBeWrittenBeforeAnythingRuns) {
  write("a.lsp", "1");
  run("--coverage-file no/such/out.info a.lsp");
  EXPECT_EQ(exit_code, 2);
  EXPECT_THAT(output, Not(HasSubstr("result")));
}

TEST_F(RecordingConsole, ShowsNoControlCharactersOfPrograms) {
  write("a.lsp", "(DEFUN F (X) X) ; \x1B[2J\n(F \"\x1B[31m\")\n(IF T \"\x1B]0;\" 2)");
  run("--trace --profile --coverage a.lsp");
  EXPECT_EQ(exit_code, 0);
  EXPECT_THAT(output, Not(HasSubstr("\x1B")));
  EXPECT_THAT(output, HasSubstr("== coverage of a.lsp"));
}

TEST_F(RecordingConsole, TestsProgramsEachByItself) {
  write("good.lsp",
        ";@ expect value 5\n;@ expect entities 1\n;@ expect entity ((0 \"CIRCLE\") (10 "
        "(1 2)))\n(COMMAND \"CIRCLE\" \"1,2\" 3) (SETQ X 5)\n");
  write("fails.lsp", ";@ expect error unbound symbol: X\nX\n");
  write("plain.lsp", "1\n");
  run("test good.lsp fails.lsp plain.lsp");
  EXPECT_EQ(exit_code, 0);
  EXPECT_EQ(output,
            "ok      good.lsp\n"
            "ok      fails.lsp\n"
            "ok      plain.lsp   [expects nothing]\n"
            "3 programs: 3 passed, 0 failed; 1 of those that passed expects nothing (;@ expect)\n");
}

TEST_F(RecordingConsole, ShowsBothSidesOfADifference) {
  write("value.lsp", ";@ expect value (1 2 \"a\")\n'(1 2 \"b\")\n");
  write("error.lsp", "(SETQ X 1)\n(+ X \"1\")\n");
  write("drawing.lsp",
        ";@ expect entities 2\n;@ expect entity ((0 \"CIRCLE\") (40 4))\n"
        "(COMMAND \"CIRCLE\" \"1,2\" 3)\n");
  write("refused.lsp", "(COMMAND \"CIRCEL\")\n");
  write("good.lsp", ";@ expect value nil\n(COMMAND \"POINT\" \"1,1\")\n");
  run("test value.lsp error.lsp drawing.lsp refused.lsp good.lsp");
  EXPECT_EQ(exit_code, 5);
  EXPECT_THAT(output, HasSubstr("FAILED  value.lsp\n"
                                "  expected  value (1 2 \"a\")\n"
                                "  got       value (1 2 \"b\")\n"));
  EXPECT_THAT(output, HasSubstr("FAILED  error.lsp\n"
                                "  expected  a value\n"
                                "  got       error + expects numbers\n"));
  EXPECT_THAT(output, HasSubstr("error.lsp:2:6: + expects numbers\n"));  // Explained.
  EXPECT_THAT(output, HasSubstr("  expected  entities 2\n  got       entities 1\n"
                                "  expected  entity ((0 \"CIRCLE\") (40 4))\n"
                                "  got       entity ((-1 \"E1\") (0 \"CIRCLE\")"));
  EXPECT_THAT(output, HasSubstr("FAILED  refused.lsp\n"
                                "  expected  no refused host call\n"
                                "  got       1 refused host call\n"));
  EXPECT_THAT(output, HasSubstr("ok      good.lsp\n"
                                "5 programs: 1 passed, 4 failed\n"
                                "failed: value.lsp\nfailed: error.lsp\nfailed: drawing.lsp\n"
                                "failed: refused.lsp\n"));
}

TEST_F(RecordingConsole, CutsLongSidesAroundTheirFirstDifference) {
  std::string list = "'(";
  for (int n = 0; n < 500; ++n) list += std::to_string(n) + " ";
  write("a.lsp", ";@ expect value " + list.substr(1) + "7)\n" + list + "8)\n");
  run("test a.lsp");
  EXPECT_EQ(exit_code, 5);
  EXPECT_THAT(output, HasSubstr("498 499 7)\n"));
  EXPECT_THAT(output, HasSubstr("498 499 8)\n"));
}

TEST_F(RecordingConsole, TestsWithCoverage) {
  write("lib.lsp", "(DEFUN F (X)\n  (IF X\n    1\n    2))\n");
  write("a.lsp", ";@ expect value 1\n(F T)\n");
  write("b.lsp", ";@ expect value 2\n(F (= 1 2))\n");
  run("test --load lib.lsp --coverage a.lsp b.lsp");
  EXPECT_EQ(exit_code, 0);
  EXPECT_THAT(output, HasSubstr("== coverage of lib.lsp: 4 of 4 lines (100.0%), 2 of 2 branches\n"
                                "        2 |    1 | (DEFUN F (X)\n"));
}

TEST_F(RecordingConsole, SaysThatAWorkerCannotBeStarted) {
  write("a.lsp", "1");
  worker_path = "no-such-worker";
  run("test a.lsp");
  EXPECT_EQ(exit_code, 3);
  EXPECT_THAT(output, HasSubstr("1 program: 0 passed, 1 failed\nfailed: a.lsp\n"));
  EXPECT_THAT(output, HasSubstr("lisp_console: a.lsp: "));
}

}  // namespace
}  // namespace lisp_worker::console
