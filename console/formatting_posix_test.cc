// `lisp_console format` as its user meets it: files, standard input and output, and an exit code.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <string_view>

#include "testing/base/command_output.h"
#include "testing/base/test_environment.h"

namespace lisp_worker::console {
namespace {

using testing::HasSubstr;
using testing::StartsWith;
using testing_support::CommandOutput;
using testing_support::environment;
using testing_support::runCommand;

constexpr std::string_view kBefore = "( SETQ A 1 ) ; one\n(WHILE (< A 3)\n(SETQ A (1+ A))\n)\n";
constexpr std::string_view kAfter = "(SETQ A 1)  ; one\n(WHILE (< A 3)\n  (SETQ A (1+ A)))\n";

class FormatProgram : public testing::Test {
 protected:
  FormatProgram() { std::filesystem::create_directory(directory_); }
  ~FormatProgram() override { std::filesystem::remove_all(directory_); }

  [[nodiscard]] std::string path(const std::string& name) const {
    return (directory_ / name).string();
  }
  void write(const std::string& name, std::string_view text) const {
    std::ofstream(path(name), std::ios::binary) << text;
  }
  [[nodiscard]] std::string read(const std::string& name) const {
    std::ostringstream text;
    text << std::ifstream(path(name), std::ios::binary).rdbuf();
    return text.str();
  }

  // Both outputs together.
  [[nodiscard]] CommandOutput format(const std::string& arguments) const {
    return runCommand("cd '" + directory_.string() + "' && '" + environment("LISP_CONSOLE_PATH") +
                      "' format " + arguments + " 2>&1");
  }

 private:
  std::filesystem::path directory_ =
      std::filesystem::temp_directory_path() / ("lisp_format_test." + std::to_string(::getpid()));
};

TEST_F(FormatProgram, ReplacesFilesAndNamesThem) {
  write("a.lsp", kBefore);
  write("b.lsp", kAfter);
  const CommandOutput output = format("a.lsp b.lsp");
  EXPECT_EQ(output.text, "a.lsp: formatted\n");
  EXPECT_EQ(output.exit_code, 0);
  EXPECT_EQ(read("a.lsp"), kAfter);
  EXPECT_EQ(read("b.lsp"), kAfter);
  EXPECT_EQ(format("a.lsp b.lsp").text, "");
}

TEST_F(FormatProgram, ChangesNothingForACheck) {
  write("a.lsp", kBefore);
  write("b.lsp", kAfter);
  const CommandOutput output = format("--check a.lsp b.lsp");
  EXPECT_EQ(output.text, "a.lsp: would change\n");
  EXPECT_EQ(output.exit_code, 1);
  EXPECT_EQ(read("a.lsp"), kBefore);
  EXPECT_EQ(format("--check b.lsp").text, "");
  EXPECT_EQ(format("--check b.lsp").exit_code, 0);
}

TEST_F(FormatProgram, LeavesHalfBrokenTextAloneAndGoesOn) {
  write("broken.lsp", "( A )\n(B (C)\n");
  write("a.lsp", kBefore);
  const CommandOutput output = format("broken.lsp a.lsp");
  EXPECT_EQ(output.text,
            "broken.lsp:2:1: error: unterminated list\n"
            "    2 | (B (C)\n"
            "      | ^\n"
            "  the text ends before this list does\n"
            "  left as it was\n"
            "a.lsp: formatted\n");
  EXPECT_EQ(output.exit_code, 2);
  EXPECT_EQ(read("broken.lsp"), "( A )\n(B (C)\n");
  EXPECT_EQ(format("--check broken.lsp").exit_code, 2);
}

TEST_F(FormatProgram, PassesStandardInputOnByteForByte) {
  write("in", "( A \"\x1B[2J\r\n\xFF\" )");
  CommandOutput output = format("- <in");
  EXPECT_EQ(output.text, "(A \"\x1B[2J\r\n\xFF\")\n");
  EXPECT_EQ(output.exit_code, 0);
  output = format("--check - <in");
  EXPECT_EQ(output.text, "standard input: would change\n");
  EXPECT_EQ(output.exit_code, 1);
  write("in", "(A");
  output = format("- <in");
  EXPECT_THAT(output.text, StartsWith("standard input:1:1: error: unterminated list\n"));
  EXPECT_EQ(output.exit_code, 2);
  EXPECT_EQ(format("- </dev/null").text, "");
}

TEST_F(FormatProgram, TellsWhenStandardOutputIsFull) {
  write("in", kBefore);
  const CommandOutput output = format("- <in 3>&1 2>&1 1>/dev/full");
  EXPECT_EQ(output.exit_code, 2);
}

TEST_F(FormatProgram, KeepsTheByteOrderMark) {
  write("a.lsp", "\xEF\xBB\xBF( A )");
  EXPECT_EQ(format("a.lsp").exit_code, 0);
  EXPECT_EQ(read("a.lsp"), "\xEF\xBB\xBF(A)\n");
}

TEST_F(FormatProgram, KeepsModesAndLinks) {
  write("a.lsp", kBefore);
  ASSERT_EQ(::chmod(path("a.lsp").c_str(), 0640), 0);
  std::filesystem::create_symlink("a.lsp", path("link.lsp"));
  EXPECT_EQ(format("link.lsp").text, "link.lsp: formatted\n");
  EXPECT_EQ(read("a.lsp"), kAfter);
  EXPECT_TRUE(std::filesystem::is_symlink(path("link.lsp")));
  struct stat mode {};
  ASSERT_EQ(::stat(path("a.lsp").c_str(), &mode), 0);
  EXPECT_EQ(mode.st_mode & 07777, 0640U);
}

TEST_F(FormatProgram, RefusesFilesThatItCannotUse) {
  CommandOutput output = format("missing.lsp");
  EXPECT_EQ(output.text, "lisp_console: missing.lsp: cannot be read: No such file or directory\n");
  EXPECT_EQ(output.exit_code, 2);
  output = format(".");
  EXPECT_THAT(output.text, StartsWith("lisp_console: .: cannot be read"));
  EXPECT_EQ(output.exit_code, 2);
  write("a.lsp", kBefore);
  ASSERT_EQ(::chmod(path("a.lsp").c_str(), 0400), 0);
  output = format("a.lsp");
  if (::geteuid() == 0) {  // Whom no mode keeps from writing.
    EXPECT_EQ(output.exit_code, 0);
    return;
  }
  EXPECT_THAT(output.text, HasSubstr("a.lsp: cannot be written: Permission denied"));
  EXPECT_EQ(output.exit_code, 2);
  EXPECT_EQ(read("a.lsp"), kBefore);
}

TEST_F(FormatProgram, WritesNoDevice) {
  ASSERT_EQ(runCommand("mkfifo '" + path("pipe") + "'").exit_code, 0);
  const CommandOutput output =
      format("pipe 2>&1 & printf '( A )' >'" + path("pipe") + "'; wait $!");
  EXPECT_EQ(output.text, "lisp_console: pipe: cannot be written: it is no regular file\n");
  EXPECT_EQ(output.exit_code, 2);
}

TEST_F(FormatProgram, FindsAllExamplesFormatted) {
  const std::string examples = "'" + environment("LISP_SOURCE_DIR") + "'/examples/";
  const CommandOutput output = format("--check " + examples + "*.lsp " + examples + "lib/*.lsp");
  // One of them shows what cannot be read.
  EXPECT_THAT(output.text, testing::ContainsRegex("06_read_error.lsp:[0-9:]+ error: "));
  EXPECT_THAT(output.text, testing::Not(HasSubstr("would change")));
  EXPECT_EQ(output.exit_code, 2);
}

}  // namespace
}  // namespace lisp_worker::console
