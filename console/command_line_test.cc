#include "console/command_line.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace lisp_worker::console {
namespace {

using testing::ElementsAre;

using Arguments = std::vector<std::string_view>;

std::string errorOf(const Arguments& arguments) {
  std::string error;
  return parseCommandLine(arguments, "beside", error) ? "was taken" : error;
}

TEST(CommandLine, TakesAWorkerAndPrograms) {
  std::string error;
  const auto command_line =
      parseCommandLine(Arguments{"a.lsp", "--worker", "bin/worker", "b.lsp"}, "beside", error);
  ASSERT_TRUE(command_line.has_value()) << error;
  EXPECT_FALSE(command_line->help);
  EXPECT_EQ(command_line->worker_path, "bin/worker");
  EXPECT_THAT(command_line->program_paths, ElementsAre("a.lsp", "b.lsp"));
}

TEST(CommandLine, TakesAnythingForAProgramAfterTheEndOfOptions) {
  std::string error;
  const auto command_line =
      parseCommandLine(Arguments{"--worker", "w", "--", "--odd.lsp", "--help"}, "beside", error);
  ASSERT_TRUE(command_line.has_value()) << error;
  EXPECT_FALSE(command_line->help);
  EXPECT_THAT(command_line->program_paths, ElementsAre("--odd.lsp", "--help"));
}

TEST(CommandLine, GivesHelpBeforeItComplains) {
  std::string error;
  for (const std::string_view help : {"--help", "-h"}) {
    const auto command_line = parseCommandLine(Arguments{help, "--nonsense"}, "beside", error);
    ASSERT_TRUE(command_line.has_value());
    EXPECT_TRUE(command_line->help);
  }
}

TEST(CommandLine, GivesItsVersionBeforeItComplains) {
  std::string error;
  const auto command_line = parseCommandLine(Arguments{"--nonsense", "--version"}, "beside", error);
  ASSERT_TRUE(command_line.has_value());
  EXPECT_TRUE(command_line->version);
}

TEST(CommandLine, TakesTheWorkerBesideTheProgramUnlessItIsTold) {
  std::string error;
  EXPECT_EQ(parseCommandLine(Arguments{"a.lsp"}, "bin/lisp_worker", error)->worker_path,
            "bin/lisp_worker");
  EXPECT_THAT(parseCommandLine(Arguments{}, "w", error)->program_paths, testing::IsEmpty());
}

TEST(CommandLine, TakesEveryOption) {
  std::string error;
  const auto line =
      parseCommandLine(Arguments{"--drawing", "in.json", "--save=out.json", "--picture", "a.svg",
                                 "--picture", "b.png", "--load", "lib.lsp", "prog.lsp", "--answers",
                                 "picks.txt", "--conversation", "--all", "--axes", "--cells"},
                       "w", error);
  ASSERT_TRUE(line.has_value()) << error;
  EXPECT_EQ(line->drawing_path, "in.json");
  EXPECT_EQ(line->save_path, "out.json");
  EXPECT_THAT(line->picture_paths, ElementsAre("a.svg", "b.png"));
  EXPECT_THAT(line->library_paths, ElementsAre("lib.lsp"));
  EXPECT_THAT(line->program_paths, ElementsAre("prog.lsp"));
  EXPECT_EQ(line->answers_path, "picks.txt");
  EXPECT_TRUE(line->shows_conversation && line->shows_all && line->shows_axes && line->shows_cells);
  EXPECT_FALSE(line->asks || line->check);
}

TEST(CommandLine, TakesCheckAsItsFirstWordOnly) {
  std::string error;
  EXPECT_TRUE(parseCommandLine(Arguments{"check", "a.lsp"}, "w", error)->check);
  EXPECT_THAT(parseCommandLine(Arguments{"check", "a.lsp"}, "w", error)->program_paths,
              ElementsAre("a.lsp"));
  EXPECT_FALSE(parseCommandLine(Arguments{"--", "check"}, "w", error)->check);
}

TEST(CommandLine, SaysWhatIsWrong) {
  EXPECT_THAT(errorOf({"a.lsp", "--worker"}), testing::HasSubstr("--worker"));
  EXPECT_EQ(errorOf({"--wroker", "w", "a.lsp"}),
            "there is no option --wroker; did you mean --worker?");
  EXPECT_EQ(errorOf({"--pictures=a.svg"}),
            "there is no option --pictures; did you mean --picture?");
  EXPECT_EQ(errorOf({"a.lsp", "-q"}), "there is no option -q");
  EXPECT_EQ(errorOf({"check"}), "check needs a program");
  EXPECT_EQ(errorOf({"--brief", "a.lsp"}), "was taken");
  EXPECT_EQ(errorOf({"--brief", "--conversation", "a.lsp"}),
            "--brief is without the conversation, and --conversation with it");
  for (const Arguments& option :
       {Arguments{"--conversation"}, {"--ask"}, {"--axes"}, {"--save", "x"}}) {
    Arguments arguments = {"check", "a.lsp"};
    arguments.insert(arguments.end(), option.begin(), option.end());
    EXPECT_EQ(errorOf(arguments), "check runs nothing; of the options it takes --load only");
  }
  EXPECT_EQ(errorOf({"check", "a.lsp", "--load", "l.lsp", "--worker", "w"}), "was taken");
  EXPECT_EQ(errorOf({"a.lsp", "--picture", "a.gif"}),
            "--picture a.gif: the name must end in .svg or .png");
}

TEST(CommandLine, TakesWatchWithOneProgram) {
  std::string error;
  const Arguments arguments = {"watch", "a.lsp", "--port", "8123", "--strict"};
  const auto line = parseCommandLine(arguments, "w", error);
  ASSERT_TRUE(line.has_value()) << error;
  EXPECT_TRUE(line->watch);
  EXPECT_EQ(line->port, 8123);
  EXPECT_EQ(errorOf({"watch"}), "watch needs one program");
  EXPECT_EQ(errorOf({"watch", "a.lsp", "b.lsp"}), "watch needs one program");
  EXPECT_EQ(errorOf({"watch", "a.lsp", "--load", "l", "--drawing", "d", "--max-calls", "5"}),
            "was taken");
  for (const Arguments& option :
       {Arguments{"--conversation"}, {"--ask"}, {"--keep"}, {"--save", "x"}}) {
    Arguments refused = {"watch", "a.lsp"};
    refused.insert(refused.end(), option.begin(), option.end());
    EXPECT_EQ(errorOf(refused),
              "watch takes --port, --load, --drawing, --strict, --max-calls and --worker only");
  }
  EXPECT_EQ(errorOf({"a.lsp", "--port", "8123"}), "--port is for watch");
  EXPECT_NE(errorOf({"watch", "a.lsp", "--port", "65536"}), "was taken");
}

TEST(CommandLine, ExplainsEveryOptionAndCommand) {
  const std::string text = usage();
  for (const char* const word :
       {"--worker", "--load", "--drawing", "--save", "--picture", "--axes", "--cells", "--answers",
        "--ask", "--conversation", "--all", ";@ drawing", ";@ expect value", "MIRROR", "ZOOM",
        "Exit codes: 0"}) {
    EXPECT_THAT(text, testing::HasSubstr(word));
  }
}

}  // namespace
}  // namespace lisp_worker::console
