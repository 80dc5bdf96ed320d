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

TEST(CommandLine, TakesDapWithAPortAndAWorkerOnly) {
  std::string error;
  const auto line =
      parseCommandLine(Arguments{"dap", "--port", "4711", "--worker", "w"}, "beside", error);
  ASSERT_TRUE(line.has_value()) << error;
  EXPECT_TRUE(line->dap);
  EXPECT_EQ(line->port, 4711);
  EXPECT_TRUE(parseCommandLine(Arguments{"dap"}, "beside", error)->dap);
  const char* const complaint = "dap takes --port and --worker only; the editor says what to run";
  EXPECT_EQ(errorOf({"dap", "a.lsp"}), complaint);
  EXPECT_EQ(errorOf({"dap", "-e", "1"}), complaint);
  EXPECT_EQ(errorOf({"dap", "--load", "lib.lsp"}), complaint);
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
            "--picture a.gif: the name must end in .svg, .png or .pdf");
}

TEST(CommandLine, TakesASheetAndAWindow) {
  std::string error;
  const auto line =
      parseCommandLine(Arguments{"a.lsp", "--picture", "a.pdf", "--sheet", "A3", "--landscape",
                                 "--scale", "1:10", "--units", "m", "--window", "-5,-5,10,10"},
                       "w", error);
  ASSERT_TRUE(line.has_value()) << error;
  ASSERT_TRUE(line->page.sheet && line->page.window);
  EXPECT_EQ(line->page.sheet->name(), "A3 landscape");
  EXPECT_EQ(line->page.sheet->scale->text(), "1:10");
  EXPECT_EQ(line->page.sheet->unit.name, "m");
  EXPECT_EQ(line->page.window->left, -5);
  // The prompt has :picture.
  EXPECT_EQ(errorOf({"--sheet", "A4"}), "was taken");
}

TEST(CommandLine, SaysWhatIsWrongWithASheet) {
  const auto error_of = [](Arguments options) {
    options.insert(options.begin(), {"a.lsp", "--picture", "a.svg"});
    return errorOf(options);
  };
  EXPECT_EQ(error_of({"--sheet", "B4"}),
            "--sheet B4: the sheets are A4, A3, A2, A1, A0 and Letter");
  EXPECT_EQ(error_of({"--sheet", "A4", "--scale", "10"}),
            "--scale 10: a scale is 1:10 or 2:1, numbers above 0 and at most 1000000");
  EXPECT_EQ(error_of({"--sheet", "A4", "--units", "yd"}),
            "--units yd: the units are mm, cm, m and in");
  EXPECT_EQ(error_of({"--window", "1,2,3"}),
            "--window 1,2,3: a window is two corners, X1,Y1,X2,Y2");
  EXPECT_EQ(error_of({"--window", "1,2,1,4"}),
            "--window 1,2,1,4: a window needs a width and a height");
  EXPECT_EQ(error_of({"--sheet", ""}), "--sheet : the sheets are A4, A3, A2, A1, A0 and Letter");
  EXPECT_EQ(error_of({"--sheet", "A4", "--scale", ""}),
            "--scale : a scale is 1:10 or 2:1, numbers above 0 and at most 1000000");
  EXPECT_EQ(error_of({"--sheet", "A4", "--units", ""}), "--units : the units are mm, cm, m and in");
  EXPECT_EQ(error_of({"--window", ""}), "--window : a window is two corners, X1,Y1,X2,Y2");
  EXPECT_EQ(error_of({"--window=-.5,0,1,1"}), "was taken");
  EXPECT_THAT(error_of({"--window", "-5,0,1,1", "--sheet"}), testing::StartsWith("--sheet"));
  EXPECT_EQ(error_of({"--scale", "1:10"}), "--scale needs --sheet");
  EXPECT_EQ(error_of({"--units", "mm"}), "--units needs --sheet");
  EXPECT_EQ(error_of({"--landscape"}), "--landscape needs --sheet");
  for (const char* const option : {"--axes", "--cells"}) {
    EXPECT_EQ(error_of({"--sheet", "A4", option}),
              "a sheet shows the drawing alone: not with --axes and --cells");
  }
  EXPECT_EQ(errorOf({"a.lsp", "--sheet", "A4"}), "--sheet and --window need --picture");
  EXPECT_EQ(errorOf({"a.lsp", "--window", "0,0,1,1"}), "--sheet and --window need --picture");
  EXPECT_EQ(errorOf({"check", "a.lsp", "--sheet", "A4"}),
            "check runs nothing; of the options it takes --load only");
  EXPECT_EQ(
      errorOf({"watch", "a.lsp", "--window", "0,0,1,1"}),
      "watch takes --port, --load, --drawing, --strict, --max-calls, --time-limit and --worker "
      "only");
  EXPECT_EQ(
      errorOf({"test", "a.lsp", "--sheet", "A4"}),
      "test takes --load, --drawing, --answers, --strict, --max-calls, --time-limit, --trace, "
      "--profile and --coverage only");
}

TEST(CommandLine, TakesATimeLimitInSeconds) {
  std::string error;
  for (const auto& [text, seconds] : {std::pair{"1", 1}, {"86399", 86399}, {"86400", 86400}}) {
    const auto line = parseCommandLine(Arguments{"a.lsp", "--time-limit", text}, "w", error);
    ASSERT_TRUE(line.has_value()) << error;
    EXPECT_EQ(line->time_limit_seconds, seconds);
  }
  EXPECT_EQ(errorOf({"test", "a.lsp", "--time-limit", "5"}), "was taken");
  EXPECT_EQ(errorOf({"--time-limit", "5"}), "was taken");
  for (const char* const text : {"0", "86401", "-1", "soon", "99999999999"}) {
    EXPECT_NE(errorOf({"a.lsp", "--time-limit", text}), "was taken") << text;
  }
  EXPECT_EQ(errorOf({"check", "a.lsp", "--time-limit", "5"}),
            "check runs nothing; of the options it takes --load only");
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
  EXPECT_EQ(errorOf({"watch", "a.lsp", "--load", "l", "--drawing", "d", "--max-calls", "5",
                     "--time-limit", "5"}),
            "was taken");
  for (const Arguments& option :
       {Arguments{"--conversation"}, {"--ask"}, {"--keep"}, {"--save", "x"}}) {
    Arguments refused = {"watch", "a.lsp"};
    refused.insert(refused.end(), option.begin(), option.end());
    EXPECT_EQ(
        errorOf(refused),
        "watch takes --port, --load, --drawing, --strict, --max-calls, --time-limit and --worker "
        "only");
  }
  EXPECT_EQ(errorOf({"a.lsp", "--port", "8123"}), "--port is for watch and dap");
  EXPECT_NE(errorOf({"watch", "a.lsp", "--port", "65536"}), "was taken");
}

TEST(CommandLine, TakesDebugWithOneProgram) {
  std::string error;
  const Arguments arguments = {"debug", "a.lsp", "--at-error", "--ask"};
  const auto line = parseCommandLine(arguments, "w", error);
  ASSERT_TRUE(line.has_value()) << error;
  EXPECT_TRUE(line->debug);
  EXPECT_TRUE(line->at_error);
  EXPECT_EQ(errorOf({"debug"}), "debug needs one program");
  EXPECT_EQ(errorOf({"debug", "a.lsp", "b.lsp"}), "debug needs one program");
  EXPECT_EQ(errorOf({"debug", "-e", "1"}), "debug needs one program");
  EXPECT_EQ(errorOf({"debug", "a.lsp", "--load", "l", "--drawing", "d", "--max-calls", "5",
                     "--time-limit", "5", "--answers", "f", "--strict"}),
            "was taken");
  for (const Arguments& option :
       {Arguments{"--brief"}, {"--json"}, {"--keep"}, {"--save", "x"}, {"--trace"}}) {
    Arguments refused = {"debug", "a.lsp"};
    refused.insert(refused.end(), option.begin(), option.end());
    EXPECT_EQ(errorOf(refused),
              "debug takes --at-error, --load, --drawing, --answers, --ask, --strict, --max-calls, "
              "--time-limit and --worker only");
  }
  EXPECT_EQ(errorOf({"a.lsp", "--at-error"}), "--at-error is for debug");
}

TEST(CommandLine, TakesFormatWithPrograms) {
  std::string error;
  const Arguments arguments = {"format", "--check", "a.lsp", "-", "--color", "never"};
  const auto line = parseCommandLine(arguments, "w", error);
  ASSERT_TRUE(line.has_value()) << error;
  EXPECT_TRUE(line->format);
  EXPECT_TRUE(line->only_names);
  EXPECT_THAT(line->program_paths, testing::ElementsAre("a.lsp", "-"));
  EXPECT_EQ(errorOf({"format"}), "format needs a program");
  EXPECT_EQ(errorOf({"format", "--check"}), "format needs a program");
  EXPECT_EQ(errorOf({"format", "-e", "1"}), "format needs a program");
  EXPECT_EQ(errorOf({"format", "-", "-"}), "standard input, -, can be read only once");
  for (const Arguments& option :
       {Arguments{"--load", "l"}, {"--json"}, {"-e", "1"}, {"--save", "x"}, {"--worker", "w"}}) {
    Arguments refused = {"format", "a.lsp"};
    refused.insert(refused.end(), option.begin(), option.end());
    EXPECT_EQ(errorOf(refused), "format takes --check only");
  }
  EXPECT_EQ(errorOf({"a.lsp", "--check"}), "--check is for format; check is a word in front");
  EXPECT_EQ(errorOf({"check", "a.lsp", "--check"}),
            "--check is for format; check is a word in front");
}

TEST(CommandLine, ExplainsEveryOptionAndCommand) {
  const std::string text = usage();
  for (const char* const word :
       {"--worker",        "--load",    "--drawing", "--save",         "--picture", "--axes",
        "--cells",         "--answers", "--sheet",   "--landscape",    "--scale",   "--units",
        "--window",        ".pdf",      "--ask",     "--conversation", "--all",     ";@ drawing",
        ";@ expect value", "MIRROR",    "ZOOM",      "Exit codes: 0"}) {
    EXPECT_THAT(text, testing::HasSubstr(word));
  }
}

}  // namespace
}  // namespace lisp_worker::console
