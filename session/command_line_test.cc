#include "session/command_line.h"

#include <gtest/gtest.h>

#include <string>

namespace lisp_worker::session {
namespace {

std::string errorOf(const std::vector<std::string_view>& arguments) {
  std::string error;
  EXPECT_FALSE(parseCommandLine(arguments, error).has_value());
  return error;
}

CommandLine parsed(const std::vector<std::string_view>& arguments) {
  std::string error;
  const auto line = parseCommandLine(arguments, error);
  EXPECT_TRUE(line.has_value()) << error;
  return line.value_or(CommandLine{});
}

TEST(SessionCommandLine, TakesEveryCommand) {
  EXPECT_EQ(parsed({"--help"}).command, Command::Help);
  EXPECT_EQ(parsed({"help"}).command, Command::Help);
  EXPECT_EQ(parsed({"--version"}).command, Command::Version);
  EXPECT_EQ(parsed({"show", "a"}).files, std::vector<std::string>{"a"});
  EXPECT_EQ(parsed({"show", "a", "--record", "12"}).number, 12u);
  const CommandLine replay = parsed({"replay", "a", "--worker", "w", "--time-limit", "50"});
  EXPECT_EQ(replay.command, Command::Replay);
  EXPECT_EQ(replay.worker, "w");
  EXPECT_EQ(replay.time_limit, std::chrono::milliseconds(50));
  EXPECT_EQ(parsed({"diff", "a", "b"}).files, (std::vector<std::string>{"a", "b"}));
  EXPECT_EQ(parsed({"explain", "a"}).time_limit, std::chrono::milliseconds(10000));
  EXPECT_EQ(parsed({"explain", "a", "--worker", "w"}).worker, "w");
  EXPECT_EQ(parsed({"explain", "a", "b"}).files.size(), 2u);
  const CommandLine proxy = parsed({"proxy", "--record", "f", "--", "w"});
  EXPECT_EQ(proxy.recording, "f");
  EXPECT_EQ(proxy.worker, "w");
}

TEST(SessionCommandLine, SaysWhatIsWrong) {
  EXPECT_EQ(errorOf({}), "no command given");
  EXPECT_EQ(errorOf({"play"}), "no command named play");
  EXPECT_EQ(errorOf({"show"}), "show needs 1 file");
  EXPECT_EQ(errorOf({"diff", "a", "b", "c"}), "diff takes no more than 2 files");
  EXPECT_EQ(errorOf({"replay", "a"}), "no --worker given");
  EXPECT_EQ(errorOf({"replay", "a", "--worker"}), "--worker needs a value");
  EXPECT_EQ(errorOf({"proxy", "--record", "f"}), "no -- PATH given");
  EXPECT_EQ(errorOf({"proxy", "--", "w"}), "no --record FILE given");
  EXPECT_EQ(errorOf({"show", "a", "--record", "x"}), "--record needs a record's number, not x");
  EXPECT_EQ(errorOf({"show", "a", "--record", "-1"}), "--record needs a record's number, not -1");
  EXPECT_EQ(errorOf({"replay", "a", "--worker", "w", "--time-limit", "1s"}),
            "--time-limit needs milliseconds from 0 to 4294967295, not 1s");
  EXPECT_EQ(errorOf({"show", "a", "--worker", "w"}), "show has no option --worker");
  EXPECT_EQ(errorOf({"show", "a", "--colour"}), "unknown option --colour");
  EXPECT_EQ(errorOf({"show", "a", "--worker"}), "show has no option --worker");
  EXPECT_EQ(errorOf({"replay", "a", "--", "w"}), "replay has no option --");
  EXPECT_EQ(errorOf({"replay", "a", "--worker", ""}), "--worker needs a value that is not empty");
  EXPECT_EQ(errorOf({"replay", "a", "--worker", "w", "--worker", "v"}), "--worker is given twice");
  EXPECT_EQ(errorOf({"proxy", "--record", "f", "--", "w", "x"}), "proxy does not take x");
  EXPECT_EQ(errorOf({"explain", "a", "b", "--worker", "w"}),
            "explain takes a second file or a worker");
}

}  // namespace
}  // namespace lisp_worker::session
