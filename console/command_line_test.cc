#include "console/command_line.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace console {
namespace {

using testing::ElementsAre;

using Arguments = std::vector<std::string_view>;

std::string errorOf(const Arguments& arguments) {
  std::string error;
  return parseCommandLine(arguments, error) ? "was taken" : error;
}

TEST(CommandLine, TakesAWorkerAndPrograms) {
  std::string error;
  const auto command_line =
      parseCommandLine(Arguments{"a.lsp", "--worker", "bin/worker", "b.lsp"}, error);
  ASSERT_TRUE(command_line.has_value()) << error;
  EXPECT_FALSE(command_line->help);
  EXPECT_EQ(command_line->worker_path, "bin/worker");
  EXPECT_THAT(command_line->program_paths, ElementsAre("a.lsp", "b.lsp"));
}

TEST(CommandLine, TakesAnythingForAProgramAfterTheEndOfOptions) {
  std::string error;
  const auto command_line =
      parseCommandLine(Arguments{"--worker", "w", "--", "--odd.lsp", "--help"}, error);
  ASSERT_TRUE(command_line.has_value()) << error;
  EXPECT_FALSE(command_line->help);
  EXPECT_THAT(command_line->program_paths, ElementsAre("--odd.lsp", "--help"));
}

TEST(CommandLine, GivesHelpBeforeItComplains) {
  std::string error;
  for (const std::string_view help : {"--help", "-h"}) {
    const auto command_line = parseCommandLine(Arguments{help, "--nonsense"}, error);
    ASSERT_TRUE(command_line.has_value());
    EXPECT_TRUE(command_line->help);
  }
}

TEST(CommandLine, SaysWhatIsWrong) {
  EXPECT_EQ(errorOf({}), "no worker given: --worker PATH");
  EXPECT_EQ(errorOf({"a.lsp"}), "no worker given: --worker PATH");
  EXPECT_EQ(errorOf({"--worker", ""}), "no worker given: --worker PATH");
  EXPECT_EQ(errorOf({"a.lsp", "--worker"}), "--worker needs the path of a worker");
  EXPECT_EQ(errorOf({"--worker", "w"}), "no program given");
  EXPECT_EQ(errorOf({"--wroker", "w", "a.lsp"}), "unknown option: --wroker");
}

}  // namespace
}  // namespace console
