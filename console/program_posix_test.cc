// The console as its user meets it: a program with arguments, output and an exit code.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

#include "console/command_line.h"
#include "testing/base/command_output.h"
#include "testing/base/test_environment.h"
#include "testing/formats/document_examples.h"

namespace lisp_worker::console {
namespace {

using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;
using testing_support::environment;
using testing_support::runCommand;

class ConsoleProgram : public testing::Test {
 protected:
  ConsoleProgram() { std::filesystem::create_directory(directory_); }
  ~ConsoleProgram() override { std::filesystem::remove_all(directory_); }

  static std::string quoted(const std::string& text) { return "'" + text + "'"; }

  // Writes a program and returns its path.
  [[nodiscard]] std::string file(const std::string& name, const std::string& text) const {
    const std::filesystem::path path = directory_ / name;
    std::ofstream(path, std::ios::binary) << text;
    return path.string();
  }

  [[nodiscard]] static std::string written(const std::string& path) {
    std::ostringstream text;
    text << std::ifstream(path, std::ios::binary).rdbuf();
    return text.str();
  }

  // Runs the console with `arguments`, which the shell splits.
  void run(const std::string& arguments) {
    const testing_support::CommandOutput result =
        runCommand(quoted(environment("LISP_CONSOLE_PATH")) + " </dev/null " + arguments + " 2>&1");
    output = result.text;
    exit_code = result.exit_code;
  }

  void runPrograms(const std::string& paths) {
    run("--worker " + quoted(environment("LISP_WORKER_PATH")) + " " + paths);
  }

  // As runPrograms, in an environment, which comes before the command.
  void runWith(const std::string& environment_words, const std::string& paths) {
    const testing_support::CommandOutput result = runCommand(
        "env " + environment_words + " " + quoted(environment("LISP_CONSOLE_PATH")) + " --worker " +
        quoted(environment("LISP_WORKER_PATH")) + " </dev/null " + paths + " 2>&1");
    output = result.text;
    exit_code = result.exit_code;
  }

  // As runPrograms; exit code 124 when it takes longer.
  void runWithin(const std::string& seconds, const std::string& paths) {
    runWith("timeout " + seconds, paths);
  }

  std::string output;  // Standard output and error together.
  int exit_code = -1;

 private:
  std::filesystem::path directory_ =
      std::filesystem::temp_directory_path() / ("lisp_console_test." + std::to_string(::getpid()));
};

TEST_F(ConsoleProgram, RunsProgramsOneAfterTheOther) {
  runPrograms("--conversation " + quoted(file("a.lsp", "(SETQ X 5)\n")) + " " +
              quoted(file("b.lsp", "(* X 2)\n")));
  EXPECT_EQ(exit_code, 0);
  EXPECT_THAT(output, HasSubstr("    (* X 2)\n"
                                "host    EvalStart         the program, 8 bytes, under context 1\n"
                                "worker  Ok                result: 10   [3 steps]\n"));
  EXPECT_THAT(output, EndsWith("== the drawing at the end: 0 entities\n"));
}

// The result and the changes fit on a screen. The conversation is shown only on request.
TEST_F(ConsoleProgram, ShowsTheConversationOnlyWhenItIsTold) {
  const std::string path = quoted(file(
      "a.lsp", "(SETQ N 0)\n(WHILE (< N 20) (SETQ N (1+ N)) (COMMAND \"CIRCLE\" \"0,0\" N))\n"));
  const std::string again =
      quoted(file("b.lsp",
                  "(SETQ N 0)\n(WHILE (< N 20) (SETQ N (1+ N)) (COMMAND \"POINT\" \"0,0\" \"\"))\n"
                  "(COMMAND \"ERASE\" \"E1\" \"E2\" \"\")\n"));
  runPrograms(path);
  EXPECT_THAT(output, StartsWith("result: "));
  EXPECT_THAT(
      output,
      EndsWith("drawing added             E12 CIRCLE on layer 0: centre (0 0 0), radius 12\n"
               "drawing ...               and 8 more added   [--all shows them]\n"));
  EXPECT_EQ(std::count(output.begin(), output.end(), '\n'), 14);
  runPrograms(path + " --brief");
  EXPECT_EQ(std::count(output.begin(), output.end(), '\n'), 14);
  runPrograms(path + " " + again);
  EXPECT_THAT(output, HasSubstr("and 8 more added, 2 more erased "));
  runPrograms(path + " --all");
  EXPECT_THAT(output, StartsWith("result: "));
  EXPECT_THAT(output, EndsWith(" radius 20\n"));
  EXPECT_EQ(std::count(output.begin(), output.end(), '\n'), 21);
  runPrograms(path + " --conversation");
  EXPECT_THAT(output, HasSubstr("worker  HostCallPending   call 20: COMMAND with "));
  EXPECT_THAT(output, HasSubstr("drawing added             E20 CIRCLE "));
  EXPECT_THAT(output, HasSubstr("== the drawing at the end: 20 entities\n"));
  run("--brief --conversation -e 1");
  EXPECT_EQ(exit_code, 2);
}

TEST_F(ConsoleProgram, TellsHowLayersHaveChanged) {
  const std::string a = quoted(file(
      "a.lsp", "(COMMAND \"LAYER\" \"M\" \"A\" \"C\" 3 \"A\" \"LW\" 0.5 \"A\" \"N\" \"B\" \"\")"));
  const std::string b = quoted(
      file("b.lsp", "(COMMAND \"LAYER\" \"OFF\" \"A\" \"L\" \"CENTER\" \"B\" \"S\" \"0\" \"\")"));
  runPrograms(a + " " + b);
  EXPECT_THAT(output, HasSubstr("drawing layer             A: colour 3, line weight 0.5\n"
                                "drawing current layer     A\n=="));
  EXPECT_THAT(output, EndsWith("drawing layer             A: off\n"
                               "drawing layer             B: line type CENTER\n"
                               "drawing current layer     0\n"));
}

TEST_F(ConsoleProgram, TellsHowToRunWhatIsDefinedAsACommand) {
  const std::string hint = "hint    nothing drawn yet (C:BOLTS) runs what is defined here\n";
  const std::string defines = "(DEFUN C:BOLTS () (COMMAND \"POINT\" \"0,0\" \"\"))\n";
  runPrograms(quoted(file("a.lsp", defines)));
  EXPECT_THAT(output, HasSubstr(hint));
  runPrograms(quoted(file("a.lsp", defines + "(C:BOLTS)\n")));
  EXPECT_THAT(output, Not(HasSubstr("hint")));
}

TEST_F(ConsoleProgram, RunsFormsOfTheCommandLineInTheirOrder) {
  runPrograms("-e '(SETQ X 5)' " + quoted(file("a.lsp", "(SETQ X (* X 2))\n")) + " -e '(+ X 1)'");
  EXPECT_EQ(exit_code, 0);
  EXPECT_THAT(output, testing::MatchesRegex("== form 1\nresult: 5   .2 steps.\n== .*a.lsp\n"
                                            "result: 10   .4 steps.\n== form 2\n"
                                            "result: 11   .3 steps.\n"));
  runPrograms("-e '(+ 1 2)'");
  EXPECT_EQ(output, "result: 3   [3 steps]\n");
  runPrograms("-e '(+ 1 2)' --conversation");
  EXPECT_THAT(output, HasSubstr("host    EvalStart "));
  runPrograms("-e '(CAR (FOO))'");
  EXPECT_EQ(exit_code, 1);
  EXPECT_THAT(output, HasSubstr("\nform 1:1:"));
  run("check -e '(CAR (FOO))' -e '(CUONT 1)'");
  EXPECT_EQ(exit_code, 1);
  EXPECT_THAT(output, HasSubstr("2 programs, 2 errors"));
}

// 2^17 loads, if each were made.
TEST_F(ConsoleProgram, LoadsALibraryOnceHoweverOftenItIsNamed) {
  constexpr int kLevels = 17;
  for (int level = 1; level <= kLevels; ++level) {
    const std::string next = ";@ load l" + std::to_string(level + 1) + ".lsp\n";
    static_cast<void>(file("l" + std::to_string(level) + ".lsp", next + next + "(SETQ A 1)\n"));
  }
  static_cast<void>(file("l18.lsp", "(SETQ B 1)\n"));
  runWithin("5", quoted(file("a.lsp", ";@ load l1.lsp\n(+ A B)\n")));
  EXPECT_EQ(output, "result: 2   [3 steps]\n");
}

TEST_F(ConsoleProgram, CopiesEverythingAgainAndAgain) {
  runWithin("30", quoted(file("a.lsp",
                              "(COMMAND \"POINT\" \"0,0\" \"\")\n(SETQ N 0)\n"
                              "(WHILE (< N 15) (SETQ N (1+ N))\n"
                              "  (COMMAND \"COPY\" \"ALL\" \"\" \"0,0\" \"1,1\"))\n")));
  EXPECT_THAT(output, HasSubstr("and 32756 more added"));
}

TEST_F(ConsoleProgram, DrawsNoCellsWhereThereWouldBeTooMany) {
  const std::string picture = file("a.svg", "");
  runWithin("5", "--cells --picture " + quoted(picture) + " " +
                     quoted(file("a.lsp",
                                 "(COMMAND \"POINT\" \"-1e20,-1e20\" \"\")\n"
                                 "(COMMAND \"CIRCLE\" \"0,0\" 5)\n")));
  EXPECT_EQ(exit_code, 0);
  EXPECT_LT(written(picture).size(), 10000U);
}

TEST_F(ConsoleProgram, KeepsEveryLetterWhateverTheLocale) {
  runWith("LC_ALL=C LANG=C", "-e '\"\xC3\x84\xE6\xBC\xA2\"'");
  EXPECT_THAT(output, StartsWith("result: \"\xC3\x84\xE6\xBC\xA2\"   "));
}

TEST_F(ConsoleProgram, LeavesTheFilesBesideASavedDrawingAlone) {
  const std::string victim = file("victim", "mine");
  const std::string part = victim + ".json.part";
  std::filesystem::create_symlink(victim, part);
  const std::string drawing = file("victim.json", "");
  std::filesystem::permissions(drawing, std::filesystem::perms(0600));
  runPrograms("-e '(COMMAND \"CIRCLE\" \"0,0\" 5)' --save " + quoted(drawing));
  EXPECT_EQ(exit_code, 0);
  EXPECT_THAT(written(drawing), HasSubstr("\"CIRCLE\""));
  EXPECT_EQ(written(victim), "mine");
  EXPECT_TRUE(std::filesystem::is_symlink(part));
  EXPECT_EQ(std::filesystem::status(drawing).permissions(), std::filesystem::perms(0600));
}

TEST_F(ConsoleProgram, ShowsAHundredFindingsAndSaysWhenThereAreMore) {
  const std::string more = "... of more than 100 these are the first\n";
  for (const int count : {99, 100, 101}) {
    std::string text;
    for (int n = 0; n < count; ++n) text += "(NO-SUCH)\n";
    run("check " + quoted(file("a.lsp", text)));
    const std::string end =
        "1 program, " + std::to_string(std::min(count, 100)) + " errors, 0 warnings\n";
    EXPECT_THAT(output, EndsWith(count > 100 ? more + end : end));
    EXPECT_EQ(output.find(more) != std::string::npos, count > 100) << count;
  }
}

TEST_F(ConsoleProgram, ChecksLibrariesForWhatTheirProgramsCannotSee) {
  const std::string program = quoted(file("a.lsp", ";@ load lib.lsp\n(F 1)\n"));
  const auto check = [&](const std::string& library) {
    static_cast<void>(file("lib.lsp", library));
    run("check " + program);
  };
  check("(DEFUN F (X) (* 2 X))\n");
  EXPECT_EQ(output, "1 program, 0 errors, 0 warnings\n");
  check("(DEFUN F (X) (* 2 X))\n(SETQ P (GETPOINT))\n");
  EXPECT_EQ(exit_code, 1);
  EXPECT_THAT(output, HasSubstr("lib.lsp:2:9: error: a library must not make host calls\n"));
  check("(DEFUN F (X) (* 2 X))" + std::string(1048576, ' '));
  EXPECT_THAT(output, HasSubstr("lib.lsp:1:1: error: the library is too long to send: "));
  check("(DEFUN F (X) (* 2 X)\n");
  EXPECT_THAT(output, HasSubstr("lib.lsp:1:1: error: unterminated list\n"));
  check("(DEFUN F (X) (LENGTH X))\n");
  EXPECT_THAT(output, HasSubstr("a.lsp:2:4: error: length expects list\n"));
}

TEST_F(ConsoleProgram, FindsTheLibrariesThatComeWithItFromEverywhere) {
  runPrograms(quoted(file("a.lsp", ";@ load examples/lib/lists.lsp\n(NTH 1 '(5 6))\n")));
  EXPECT_EQ(output, "result: 6   [22 steps]\n");
  runPrograms("--load examples/lib/points.lsp -e '(POINT-X (LIST 5 6))'");
  EXPECT_THAT(output, StartsWith("result: 5   "));
  // One's own comes first.
  std::filesystem::create_directories(std::filesystem::path(file("x", "")).parent_path() /
                                      "examples/lib");
  static_cast<void>(file("examples/lib/lists.lsp", "(DEFUN NTH (N L) 7)"));
  runPrograms(quoted(file("a.lsp", ";@ load examples/lib/lists.lsp\n(NTH 1 '(5 6))\n")));
  EXPECT_THAT(output, StartsWith("result: 7   "));
  const std::string lost = file("a.lsp", ";@ load examples/lib/none.lsp\n1\n");
  runPrograms(quoted(lost));
  EXPECT_EQ(exit_code, 2);
  EXPECT_THAT(output, HasSubstr("examples/lib/none.lsp: cannot be read: No such file"));
}

TEST_F(ConsoleProgram, ReadsAProgramFromStandardInput) {
  const std::string path = file("in.lsp", "\xEF\xBB\xBF(LIST 1\n  (CAR '(2)))");
  runPrograms("- <" + quoted(path));
  EXPECT_EQ(output, "result: (1 2)   [4 steps]\n");
  run("check - <" + quoted(file("bad.lsp", "(CAR (FOO))")));
  EXPECT_THAT(output, HasSubstr("standard input:1:7: error: "));
  for (const char* const arguments : {"- -", "- --ask"}) {
    run(arguments);
    EXPECT_EQ(exit_code, 2) << arguments;
  }
}

TEST_F(ConsoleProgram, WritesResultsCallsAndChangesAsJson) {
  const auto lines = [this](const std::string& arguments) {
    runPrograms("--json " + arguments);
    std::vector<nlohmann::json> objects;
    std::istringstream text(output);
    for (std::string line; std::getline(text, line);) {
      objects.push_back(nlohmann::json::parse(line, nullptr, false));
      EXPECT_FALSE(objects.back().is_discarded()) << line;
    }
    return objects;
  };
  using Json = nlohmann::json;
  auto objects = lines(
      "-e '(COMMAND \"POINT\" \"1,2\" \"\") (LIST 1.5 -2 \"a\\\"b\" (QUOTE X) NIL \"\xC3\xA9\")'");
  ASSERT_EQ(objects.size(), 3U) << output;
  EXPECT_EQ(objects[0], Json::parse(R"({"event": "call", "program": "form 1", "number": 1,
      "name": "COMMAND", "arguments": ["POINT", "1,2", ""], "answer": "nil", "note": "added E1",
      "refused": false})"));
  EXPECT_EQ(objects[1], Json::parse(R"({"event": "change", "program": "form 1", "kind": "added",
      "entity": {"handle": "E1", "type": "POINT", "layer": "0", "at": [1, 2, 0]}})"));
  EXPECT_EQ(objects[2]["event"], "result");
  EXPECT_EQ(objects[2]["end"], "value");
  EXPECT_EQ(objects[2]["value"],
            Json::parse("[1.5, -2, \"a\\\"b\", {\"symbol\": \"X\"}, null, \"\xC3\xA9\"]"));
  EXPECT_EQ(objects[2]["calls"], 1);
  EXPECT_EQ(objects[2]["as_expected"], true);
  EXPECT_EQ(exit_code, 0);

  objects = lines(
      quoted(file("bad.lsp", "(COMMAND \"POINT\" \"1,2\" \"\")\n(CAR (FOO \"\x1B\"))")) + " -e 7");
  ASSERT_EQ(objects.size(), 3U) << output;
  EXPECT_EQ(objects[1]["end"], "error");
  EXPECT_EQ(objects[1]["text"], "unsupported LISP function: FOO");
  EXPECT_THAT(objects[1]["place"].get<std::string>(), EndsWith("bad.lsp:2:7"));
  EXPECT_THAT(objects[1]["explanation"].get<std::string>(), HasSubstr("    2 | (CAR (FOO "));
  EXPECT_EQ(objects[1]["taken_back"], true);
  EXPECT_FALSE(objects[1].contains("value"));
  EXPECT_EQ(objects[2]["value"], 7);
  EXPECT_EQ(exit_code, 1);

  // Control characters arrive, and reach no terminal.
  objects = lines("-e " + quoted("\"\x1B[2J\xC2\x9B\""));
  ASSERT_EQ(objects.size(), 1U) << output;
  EXPECT_EQ(objects[0]["value"], "\x1B[2J\xC2\x9B");
  EXPECT_THAT(output, HasSubstr("\\u001b[2J\\u009b"));

  objects = lines("-e '(COMMAND \"ERASE\" \"E9\" \"\")' --strict");
  ASSERT_EQ(objects.size(), 2U) << output;
  EXPECT_EQ(objects[0]["refused"], true);
  EXPECT_EQ(objects[1]["end"], "cancelled");
  EXPECT_EQ(objects[1]["refused"], 1);

  objects = lines("--load " + quoted(file("lib.lsp", "(FOO)")) + " -e 7 --picture " +
                  quoted(file("p.svg", "")));
  ASSERT_EQ(objects.size(), 2U) << output;
  EXPECT_THAT(objects[0]["program"].get<std::string>(), EndsWith("lib.lsp"));
  EXPECT_EQ(objects[0]["end"], "error");
  for (const char* const arguments : {"--json", "--json --ask -e 1", "check --json -e 1"}) {
    run(arguments);
    EXPECT_EQ(exit_code, 2) << arguments;
  }
}

// A shell's `script` makes a terminal of standard output.
TEST_F(ConsoleProgram, ShowsColoursAtATerminalOnly) {
  const std::string value = "\x1B[36mresult: 3   [3 steps]\x1B[0m";
  const std::string form = "-e '(+ 1 2)'";
  runPrograms(form);
  EXPECT_THAT(output, Not(HasSubstr("\x1B")));
  runPrograms(form + " --color always");
  EXPECT_THAT(output, HasSubstr(value));
  const auto atTerminal = [&](const std::string& variables, const std::string& options) {
    return runCommand("env " + variables + " script -qec \"" + environment("LISP_CONSOLE_PATH") +
                      " --worker " + environment("LISP_WORKER_PATH") + " " + form + " " + options +
                      "\" /dev/null </dev/null")
        .text;
  };
  EXPECT_THAT(atTerminal("-u NO_COLOR TERM=xterm", ""), HasSubstr(value));
  EXPECT_THAT(atTerminal("NO_COLOR= TERM=xterm", ""), HasSubstr(value));
  EXPECT_THAT(atTerminal("NO_COLOR=1 TERM=xterm", ""), Not(HasSubstr("\x1B")));
  EXPECT_THAT(atTerminal("-u NO_COLOR TERM=dumb", ""), Not(HasSubstr("\x1B")));
  EXPECT_THAT(atTerminal("-u NO_COLOR TERM=xterm", "--color never"), Not(HasSubstr("\x1B")));
  EXPECT_THAT(atTerminal("NO_COLOR=1 TERM=dumb", "--color=always"), HasSubstr(value));
  run("--color sometimes -e 1");
  EXPECT_EQ(exit_code, 2);
}

TEST_F(ConsoleProgram, ColoursErrorsRefusalsAndChanges) {
  runPrograms(
      "--color always -e '(CAR (FOO))' -e '(COMMAND \"POINT\" \"1,1\" \"\")' "
      "-e '(COMMAND \"MOVE\" \"E1\" \"\" \"0,0\" \"1,1\")' -e '(COMMAND \"ERASE\" \"E1\" \"\")' "
      "-e '(COMMAND \"ERASE\" \"E9\" \"\")' no.lsp");
  EXPECT_THAT(output, HasSubstr("\x1B[1;31mlisp_console: \x1B[0mno.lsp"));
  runPrograms(
      "--color always -e '(CAR (FOO))' -e '(COMMAND \"POINT\" \"1,1\" \"\")' "
      "-e '(COMMAND \"MOVE\" \"E1\" \"\" \"0,0\" \"1,1\")' -e '(COMMAND \"ERASE\" \"E1\" \"\")' "
      "-e '(COMMAND \"ERASE\" \"E9\" \"\")'");
  for (const char* const part :
       {"\x1B[1;31merror: ", "\x1B[1;31mform 1:1:", "\x1B[32mdrawing added ",
        "\x1B[34mdrawing changed ", "\x1B[31mdrawing erased ", "\x1B[33mform 5:1:"}) {
    EXPECT_THAT(output, HasSubstr(part));
  }
}

TEST_F(ConsoleProgram, SaysByItsExitCodeThatAProgramFailed) {
  runPrograms(quoted(file("a.lsp", "(CAR (FOO))")) + " " + quoted(file("b.lsp", "1")));
  EXPECT_EQ(exit_code, 1);
  EXPECT_THAT(output, HasSubstr("error: unsupported LISP function: FOO"));
  EXPECT_THAT(output, HasSubstr("result: 1 "));  // The others are run all the same.

  runPrograms(quoted(file("a.lsp", ";@ expect value 2\n1")));
  EXPECT_EQ(exit_code, 1);
  EXPECT_THAT(output, HasSubstr("script  NOT AS EXPECTED   2\n"));
}

TEST_F(ConsoleProgram, TellsItsVersion) {
  run("--version");
  EXPECT_EQ(exit_code, 0);
  EXPECT_EQ(output, "lisp_console " + testing_support::projectVersion() + "\n");
}

// Everything that --help and :help name is in the manual page.
TEST_F(ConsoleProgram, IsDescribedByItsManualPage) {
  std::string page = testing_support::readSource("man/lisp_console.1");
  std::erase(page, '\\');
  runPrograms("<'" + file("lines.txt", ":help\n") + "'");
  const std::string told = usage() + output;
  static const std::regex kName(
      "--[a-z-]+|\n  ;@ [a-z]+( value| error| refusal| entities| entity)?|\n  :[a-z]+");
  int count = 0;
  for (std::sregex_iterator name(told.begin(), told.end(), kName), end; name != end; ++name) {
    const std::string text = name->str();
    EXPECT_THAT(page, HasSubstr(text.substr(text.find_first_not_of("\n ")))) << text;
    ++count;
  }
  EXPECT_GT(count, 30);
  for (const char* const code : {"0", "1", "2", "3", "4", "5"}) {
    EXPECT_THAT(page, HasSubstr(std::string(".TP\n.B ") + code + "\n"));
  }
}

TEST_F(ConsoleProgram, ShowsWhatTheDrawingHasRefused) {
  const std::string path = file("a.lsp",
                                "(COMMAND \"CIRCLE\" '(0 0) -5)\n"
                                "(SETQ N 0)\n"
                                "(WHILE (< N 6)\n"
                                "  (SETQ N (1+ N))\n"
                                "  (ENTMAKE (LIST '(0 \"POINT\") (LIST 8 N))))\n");
  const std::string shown = path +
                            ":1:26: COMMAND refused: nothing done: CIRCLE: group 40 needs a "
                            "number above 0\n"
                            "    1 | (COMMAND \"CIRCLE\" '(0 0) -5)\n"
                            "      |                          ^^\n";
  for (const char* const option : {"", "--conversation "}) {
    runPrograms(option + quoted(path));
    EXPECT_EQ(exit_code, 4);
    EXPECT_THAT(output, HasSubstr(shown));
    EXPECT_THAT(output, HasSubstr(path + ":5:12: ENTMAKE refused: not made: "));
    EXPECT_THAT(output, HasSubstr("  values    (LIST '(0 \"POINT\") (LIST 8 N)) is ((0 \"POINT\") "
                                  "(8 4))\n... and 2 more calls were refused\n"));
  }
}

TEST_F(ConsoleProgram, SaysByItsExitCodeThatACallWasRefused) {
  const std::string refused = "(COMMAND \"CIRCLE\" '(0 0) -5)\n";
  runPrograms(quoted(file("a.lsp", refused)));
  EXPECT_EQ(exit_code, 4);
  runPrograms(quoted(file("a.lsp", refused)) + " " + quoted(file("b.lsp", "(/ 1 0)")));
  EXPECT_EQ(exit_code, 1);
  // A program that says how it ends has thought of it.
  runPrograms(quoted(file("a.lsp", ";@ expect value nil\n" + refused)));
  EXPECT_EQ(exit_code, 0);
  runPrograms(quoted(file("a.lsp", "(SETQ N 0)(WHILE (< N 6) (SETQ N (1+ N)) " + refused + ")")));
  EXPECT_THAT(output, HasSubstr("... and 1 more call was refused\n"));
  runPrograms("--strict " + quoted(file("a.lsp", "(COMMAND \"POINT\" '(1 1) \"\")\n" + refused)));
  EXPECT_EQ(exit_code, 1);
  EXPECT_THAT(output, StartsWith("run     cancelled         COMMAND was refused: nothing done: "
                                 "CIRCLE: group 40 needs a number above 0\n"));
  EXPECT_THAT(output, HasSubstr("a.lsp:2:26: COMMAND refused: "));
  EXPECT_THAT(output, HasSubstr("is taken back: 1 entity "));
}

TEST_F(ConsoleProgram, TakesBackWhatAFailedProgramHasDrawn) {
  const std::string good = quoted(file("a.lsp", "(COMMAND \"POINT\" '(1 1) \"\")"));
  const std::string bad = quoted(
      file("b.lsp", "(COMMAND \"LAYER\" \"M\" \"B\" \"\")(COMMAND \"POINT\" '(2 2) \"\")(/ 1 0)"));
  const std::string saved = file("saved.json", "");
  runPrograms("--save " + quoted(saved) + " " + good);
  const std::string expected = written(saved);
  runPrograms("--save " + quoted(saved) + " " + good + " " + bad);
  EXPECT_EQ(exit_code, 1);
  EXPECT_EQ(written(saved), expected);
  EXPECT_THAT(output, HasSubstr("drawing untouched         what the program had changed is taken "
                                "back: 1 entity   [--keep keeps it]\n"));
  runPrograms("--keep --save " + quoted(saved) + " " + good + " " + bad);
  EXPECT_THAT(written(saved), HasSubstr("E2"));
  EXPECT_THAT(output, HasSubstr("drawing added             E2 POINT on layer B"));
}

TEST_F(ConsoleProgram, ShowsWhatWouldChangeWithoutWritingIt) {
  const std::string good = quoted(file("a.lsp", "(COMMAND \"POINT\" '(1 1) \"\")"));
  const std::string saved = file("saved.json", "as it was");
  runPrograms("--dry-run --save " + quoted(saved) + " " + good);
  EXPECT_EQ(exit_code, 0);
  EXPECT_EQ(output,
            "result: nil   [4 steps]\n"
            "drawing added             E1 POINT on layer 0: at (1 1 0)\n"
            "not written: " +
                saved + "   [--dry-run]\n");
  EXPECT_EQ(written(saved), "as it was");
}

TEST_F(ConsoleProgram, LetsAProgramMakeMoreHostCallsOrFewer) {
  const std::string path = quoted(file("a.lsp", "(GETDIST)(GETDIST)(GETDIST)"));
  runPrograms("--max-calls 3 " + path);
  EXPECT_EQ(exit_code, 0);
  runPrograms("--max-calls 2 " + path);
  EXPECT_EQ(exit_code, 1);
  EXPECT_THAT(output, StartsWith("run     cancelled         this program makes more than 2 host "
                                 "calls (--max-calls allows more)\n"));
}

// One that takes requests and answers none, and one that announces 100 bytes and sends none of
// them.
TEST_F(ConsoleProgram, EndsAWorkerThatTakesTooLong) {
  const std::string program = quoted(file("a.lsp", "(+ 1 2)"));
  const std::string form = quoted(file("form", "(+ 1 2)\n"));
  const std::string silent = file("silent", "#!/bin/sh\nexec cat 3>&1 >/dev/null\n");
  std::filesystem::permissions(silent, std::filesystem::perms(0700));
  std::string options = " --time-limit 1 --worker " + quoted(silent) + " ";
  for (const std::string& arguments : {options + program, options + "-e 1", options + "<" + form,
                                       "test" + options + program, "debug" + options + program}) {
    run(arguments);
    EXPECT_EQ(exit_code, 3) << arguments << "\n" << output;
    EXPECT_THAT(output, HasSubstr("the worker has not answered within 1000 ms")) << arguments;
  }
  // The header of a response to the first request, which registers context 1.
  const std::string cut =
      file("cut",
           "#!/bin/sh\nprintf 'KLSP\\003\\000\\002\\000\\144\\000\\000\\000'\n"
           "printf '\\000\\000\\000\\000\\001\\000\\000\\000\\000\\000\\000\\000\\001'\n"
           "head -c 39 /dev/zero\nexec cat 3>&1 >/dev/null\n");
  std::filesystem::permissions(cut, std::filesystem::perms(0700));
  run("--time-limit 1 --worker " + quoted(cut) + " " + program);
  EXPECT_EQ(exit_code, 3);
  EXPECT_THAT(output, HasSubstr("the worker has not answered within 1000 ms"));
  EXPECT_THAT(output, HasSubstr("0 of 100 payload bytes have come"));
}

// Ctrl-C ends the program where it is. The files that were asked for are written all the same.
TEST_F(ConsoleProgram, EndsAProgramAtCtrlC) {
  const std::string good = quoted(file("a.lsp", "(COMMAND \"POINT\" '(1 1) \"\")"));
  const std::string endless =
      file("b.lsp", "(ENTMAKE '((0 \"POINT\") (10 (2 2))))\n(WHILE T\n  (GETDIST))\n");
  const std::string after = quoted(file("c.lsp", "\"was run\""));
  const std::string saved = file("saved.json", "");
  const std::string picture = file("picture.svg", "");
  const auto result = runCommand(
      "timeout --preserve-status -s INT 0.3 " + quoted(environment("LISP_CONSOLE_PATH")) +
      " --worker " + quoted(environment("LISP_WORKER_PATH")) + " --max-calls 250000 --save " +
      quoted(saved) + " --picture " + quoted(picture) + " " + good + " " + quoted(endless) + " " +
      after + " </dev/null 2>&1");
  EXPECT_EQ(result.exit_code, 1) << result.text;
  EXPECT_THAT(result.text, HasSubstr("run     cancelled         cancelled after "));
  EXPECT_THAT(result.text, HasSubstr(endless + ":3:3: CAD host call required: GETDIST"));
  EXPECT_THAT(result.text, HasSubstr("is taken back: 1 entity "));
  EXPECT_THAT(result.text, Not(HasSubstr("was run")));
  EXPECT_THAT(written(saved), HasSubstr("E1"));
  EXPECT_THAT(written(saved), Not(HasSubstr("E2")));
  EXPECT_THAT(written(picture), HasSubstr("</svg>"));
}

TEST_F(ConsoleProgram, WritesTheDrawingThoughTheWorkerIsGone) {
  const std::string saved = file("saved.json", "");
  run("--worker /bin/false --save " + quoted(saved) + " " + quoted(file("a.lsp", "1")));
  EXPECT_EQ(exit_code, 3);
  EXPECT_THAT(written(saved), HasSubstr("\"current_layer\": \"0\""));
}

TEST_F(ConsoleProgram, ExplainsItself) {
  run("--help");
  EXPECT_EQ(exit_code, 0);
  EXPECT_EQ(output, usage());
}

TEST_F(ConsoleProgram, RefusesWhatItCannotUseBeforeItStartsAWorker) {
  run("--worker no-such-worker no-such-program.lsp");
  EXPECT_EQ(exit_code, 2);
  EXPECT_EQ(output,
            "lisp_console: no-such-program.lsp: cannot be read: No such file or directory\n");

  run("--worker no-such-worker /");
  EXPECT_EQ(exit_code, 2);
  EXPECT_EQ(output, "lisp_console: /: cannot be read: Is a directory\n");

  const std::string path = file("odd.lsp", "1\n;@ anwser GETPOINT nil\n");
  run("--worker no-such-worker " + quoted(path));
  EXPECT_EQ(exit_code, 2);
  EXPECT_EQ(output, "lisp_console: " + path +
                        ": line 2: unknown: anwser; known "
                        "are answer, drawing, entity, expect, keep, load, picture and system\n");
}

TEST_F(ConsoleProgram, FindsItsWorkerHoweverItIsFoundItself) {
  const std::filesystem::path own = environment("LISP_CONSOLE_PATH");
  const std::string path = file("a.lsp", "(+ 40 2)\n");
  const std::filesystem::path link = std::filesystem::path(path).parent_path() / "linked";
  std::filesystem::create_symlink(own, link);
  for (const std::string& command : {"PATH=" + quoted(own.parent_path()) + " lisp_console",
                                     quoted(link), "cd / && " + quoted(own)}) {
    const auto result = runCommand(command + " " + quoted(path) + " 2>&1");
    EXPECT_EQ(result.text, "result: 42   [3 steps]\n") << command;
  }
}

TEST_F(ConsoleProgram, NamesTheLineThatNamesAFile) {
  const std::string path = file("a.lsp", "1\n;@ load b.lsp\n");
  const std::string library = file("b.lsp", ";@ drawing none.json\n");
  runPrograms(quoted(path));
  EXPECT_EQ(exit_code, 2);
  const std::string directory = std::filesystem::path(path).parent_path().string();
  EXPECT_EQ(output, "lisp_console: " + path + ": line 2: " + library + ": line 1: " + directory +
                        "/none.json: cannot be read: No such file or directory\n");
}

TEST_F(ConsoleProgram, TakesAByteOrderMark) {
  runPrograms(quoted(file("a.lsp", "\xEF\xBB\xBF(+ 1 2)\n")));
  EXPECT_EQ(exit_code, 0);
  EXPECT_EQ(output, "result: 3   [3 steps]\n");
}

TEST_F(ConsoleProgram, TakesPointsInAFileOfAnswersAsTheyAreTyped) {
  const std::string program = quoted(file("a.lsp", "(LIST (GETPOINT) (GETCORNER) (GETDIST))"));
  const std::string answers = file("picks.txt", "GETPOINT 1,2\nGETCORNER 3,4,5\nGETDIST 6\n");
  runPrograms("--answers " + quoted(answers) + " " + program);
  EXPECT_EQ(output, "result: ((1 2 0) (3 4 5) 6)   [4 steps]\n");
  const std::string bad = file("bad.txt", "GETDIST 1,5\n");
  runPrograms("--answers " + quoted(bad) + " " + program);
  EXPECT_EQ(exit_code, 2);
  EXPECT_EQ(output, "lisp_console: " + bad +
                        ": line 1: answer to GETDIST: a distance is a number, not 1,5\n");
}

TEST_F(ConsoleProgram, SaysWhenItHasPickedItself) {
  runPrograms(quoted(file("a.lsp", "(GETPOINT)(GETDIST)")));
  EXPECT_EQ(output,
            "result: 10   [2 steps]\n"
            "picks   picked by rule    GETPOINT (0 0 0), GETDIST 10   [--ask asks you, "
            "--answers reads a file]\n");
}

TEST_F(ConsoleProgram, NamesTheProgramsOfSeveral) {
  const std::string a = file("a.lsp", "1");
  const std::string b = file("b.lsp", "2");
  runPrograms(quoted(a) + " " + quoted(b));
  EXPECT_EQ(output, "== " + a + "\nresult: 1   [1 step]\n== " + b + "\nresult: 2   [1 step]\n");
}

TEST_F(ConsoleProgram, ShowsLongResults) {
  const std::string program =
      quoted(file("a.lsp", "(SETQ L nil N 0)(WHILE (< N 2000) (SETQ L (CONS N L) N (1+ N)))L"));
  runPrograms(program);
  EXPECT_THAT(output, HasSubstr(" 1300 "));
  EXPECT_THAT(output, HasSubstr("bytes in all)"));
  runPrograms("--all " + program);
  EXPECT_THAT(output, HasSubstr(" 2 1 0)   ["));
}

// A text that holds a double quote is told from two by asking the program.
TEST_F(ConsoleProgram, TakesTextsWithDoubleQuotes) {
  runPrograms(quoted(file("a.lsp",
                          "(COMMAND \"TEXT\" \"0,0\" 5 0 \"3/4\\\" BOLT\")\n"
                          "(ENTMAKE '((0 \"TEXT\") (1 \"6\\\" x 2\\\"\") (10 (1 1)) (40 2)))\n"
                          "(DEFUN NOTE (S) (COMMAND \"TEXT\" \"0,9\" 5 0 S))\n"
                          "(NOTE \"a\\\" \\\"b\")\n")));
  EXPECT_EQ(exit_code, 0) << output;
  EXPECT_THAT(output, HasSubstr("text \"3/4\\\" BOLT\"\n"));
  EXPECT_THAT(output, HasSubstr("text \"6\\\" x 2\\\"\"\n"));
  EXPECT_THAT(output, HasSubstr("text \"a\\\" \\\"b\"\n"));
}

TEST_F(ConsoleProgram, PutsTheCaretUnderTheRefusedArgument) {
  const std::string path = file("a.lsp",
                                "(COMMAND \"CIRCLE\" '(0 0) -5)\n"
                                "(COMMAND \"TEXT\" '(0 0) 0 0 \"X\")\n"
                                "(COMMAND \"MOVE\" \"E7\" \"\" '(0 0) '(1 1))\n"
                                "(OSNAP '(0 0) \"perp\")\n"
                                "(COMMAND \"LINE\" '(0 0))\n");
  runPrograms(quoted(path));
  EXPECT_EQ(exit_code, 4);
  EXPECT_THAT(output, HasSubstr("1 | (COMMAND \"CIRCLE\" '(0 0) -5)\n"
                                "      |                          ^^\n"));
  EXPECT_THAT(output, HasSubstr("TEXT: needs a height above 0\n"
                                "    2 | (COMMAND \"TEXT\" '(0 0) 0 0 \"X\")\n"
                                "      |                        ^\n"));
  EXPECT_THAT(output, HasSubstr("3 | (COMMAND \"MOVE\" \"E7\" \"\" '(0 0) '(1 1))\n"
                                "      |                 ^^^^\n"));
  EXPECT_THAT(output, HasSubstr("this host cannot snap to PERP; it knows end, mid, cen, qua, nod "
                                "and ins\n    4 | (OSNAP '(0 0) \"perp\")\n"
                                "      |               ^^^^^^\n"));
  EXPECT_THAT(output, HasSubstr("LINE: needs another point\n    5 | (COMMAND \"LINE\" '(0 0))\n"
                                "      | ^^^"));
}

// Control sequences, C1 bytes and marks of direction come from everywhere and reach no terminal.
TEST_F(ConsoleProgram, EscapesWhatATerminalWouldObey) {
  const std::string evil = "\x1B]0;x\x07\xC2\x9B\xE2\x80\xAE\x9B";
  const std::string bad = file("a" + evil + ".lsp", "(FOO \"" + evil + "\")\n");
  const std::string drawing =
      file("d.json", "{\"" + std::string("\xC2\x9B\xE2\x80\xAE") + "\": 1}");
  const std::string script = file("s.lsp", ";@ " + evil + "\n");
  const std::string good =
      file("b.lsp", "(DEFUN F (X) (/ X 0))\n;" + evil + "\n(COMMAND \"" + evil + "\")\n(PRINC \"" +
                        evil + "\")\n(ENTMAKE '((0 \"TEXT\") (1 \"" + evil + "\") (8 \"" + evil +
                        "\") (10 (1 1)) (40 2)))\n");
  const std::string prompts =
      file("lines.txt", "(GETPOINT \"" + evil + "\")\n1,1\n:calls\n:steps\n" + ":doc " + evil +
                            "\n:" + evil + "\n:drawing\n" + evil + "\n(QUOTE " + evil +
                            ")\n:load " + evil + "\n");
  for (const std::string& arguments :
       {quoted(bad), "check " + quoted(bad), "--drawing " + quoted(drawing) + " " + quoted(good),
        quoted(script), quoted(good), "--conversation " + quoted(good), quoted("--" + evil),
        "--picture " + quoted(evil) + " " + quoted(good), "<" + quoted(prompts)}) {
    const bool checks = arguments.starts_with("check");
    if (checks) {
      run(arguments);
    } else {
      runPrograms(arguments);
    }
    for (const char* const part : {"\x1B", "\x07", "\xC2\x9B", "\xE2\x80\xAE", "\x9B"}) {
      EXPECT_THAT(output, Not(HasSubstr(part))) << arguments << "\n" << output;
    }
    EXPECT_THAT(output, HasSubstr("\\u202E")) << arguments;
  }
}

TEST_F(ConsoleProgram, LeavesTheUsersOtherFilesAlone) {
  const std::string program = quoted(file("a.lsp", "(COMMAND \"POINT\" '(1 1) \"\")"));
  const std::string saved = file("d.json", "{}");
  const std::string own = file("d.json.part", "mine");
  const std::string victim = file("victim", "precious");
  const std::string linked = file("e.json", "{}");
  std::filesystem::create_symlink(victim, linked + ".part");
  std::filesystem::permissions(saved, std::filesystem::perms(0600));
  runPrograms("--save " + quoted(saved) + " " + program);
  EXPECT_EQ(exit_code, 0);
  EXPECT_THAT(written(saved), HasSubstr("E1"));
  EXPECT_EQ(std::filesystem::status(saved).permissions(), std::filesystem::perms(0600));
  EXPECT_EQ(written(own), "mine");
  runPrograms("--save " + quoted(linked) + " " + program);
  EXPECT_EQ(written(victim), "precious");
}

TEST_F(ConsoleProgram, RefusesWhatItCouldNotWriteBeforeAnythingRuns) {
  const std::string program = quoted(file("a.lsp", "\"was run\""));
  for (const char* const option : {"--save ", "--picture "}) {
    const std::string path = file("a.svg", "") + "/none/a.svg";
    runPrograms(option + quoted(path) + " " + program);
    EXPECT_EQ(exit_code, 2);
    EXPECT_EQ(output, "lisp_console: " + path + ": cannot be written: Not a directory\n");
  }
}

TEST_F(ConsoleProgram, DrawsOnASheetAndSaysItsScale) {
  const std::string program = quoted(file("a.lsp", "(COMMAND \"CIRCLE\" '(0 0) 100)"));
  const std::string svg = file("a.svg", "");
  const std::string pdf = file("a.pdf", "");
  runPrograms(program + " --sheet A4 --picture " + quoted(svg) + " --picture " + quoted(pdf));
  EXPECT_EQ(exit_code, 0);
  EXPECT_THAT(output,
              EndsWith("picture: " + svg + "   [A4 at 1:2]\npicture: " + pdf + "   [A4 at 1:2]\n"));
  EXPECT_THAT(written(svg), HasSubstr(">a.lsp</text>"));
  EXPECT_THAT(written(pdf), StartsWith("%PDF-"));
  // A program may name its sheet; the command line has the last word.
  const std::string own = quoted(
      file("b.lsp", ";@ picture sheet A3 landscape scale 1:1\n(COMMAND \"CIRCLE\" '(0 0) 100)"));
  runPrograms(own + " --picture " + quoted(svg));
  EXPECT_THAT(output, HasSubstr("[A3 landscape at 1:1]"));
  runPrograms(own + " --sheet A4 --picture " + quoted(svg));
  EXPECT_THAT(output, HasSubstr("[A4 at 1:2]"));
  runPrograms("--sheet A4 <" + quoted(file("in.txt", ":picture " + svg + "\n")));
  EXPECT_EQ(output, "picture: " + svg + "   [A4 at 1:1]\n");
}

TEST_F(ConsoleProgram, WritesNothingWhenTheDrawingDoesNotFit) {
  const std::string program = quoted(file("a.lsp", "(COMMAND \"CIRCLE\" '(0 0) 100)"));
  const std::string svg = file("a.svg", "old");
  const std::string saved = file("saved.json", "old");
  const std::string options =
      " --sheet A4 --scale 1:1 --save " + quoted(saved) + " --picture " + quoted(svg);
  runPrograms(program + options);
  EXPECT_EQ(exit_code, 2);
  EXPECT_THAT(output,
              EndsWith("lisp_console: the drawing does not fit on A4: at 1:1 it takes 200 x 200 "
                       "mm, and the sheet, 210 x 297 mm, has room for 170 x 252 mm; try: --scale "
                       "1:2 or --sheet A3\n"));
  EXPECT_EQ(written(svg), "old");
  EXPECT_EQ(written(saved), "old");
  // The work of a person at the prompt is kept.
  runPrograms(options + " <" + quoted(file("in.txt", "(COMMAND \"CIRCLE\" '(0 0) 100)\n")));
  EXPECT_EQ(exit_code, 2);
  EXPECT_THAT(output, HasSubstr("does not fit on A4"));
  EXPECT_EQ(written(svg), "old");
  EXPECT_THAT(written(saved), HasSubstr("CIRCLE"));
  runPrograms("--sheet A4 --scale 1 --picture a.svg " + program);
  EXPECT_EQ(exit_code, 2);
  EXPECT_EQ(output,
            "lisp_console: --scale 1: a scale is 1:10 or 2:1, numbers above 0 and at most 1000000 "
            "(--help tells more)\n");
}

TEST_F(ConsoleProgram, FailsWhenTheDiskIsFull) {
  const auto result = runCommand(quoted(environment("LISP_CONSOLE_PATH")) + " --worker " +
                                 quoted(environment("LISP_WORKER_PATH")) + " " +
                                 quoted(file("a.lsp", "1")) + " 2>&1 >/dev/full </dev/null");
  EXPECT_EQ(result.exit_code, 2);
  EXPECT_EQ(result.text, "lisp_console: standard output cannot be written\n");
}

TEST_F(ConsoleProgram, ChecksAFileOfAnswersBeforeItStarts) {
  const std::string program = quoted(file("a.lsp", "(GETPOINT)"));
  const std::string answers = file("picks.txt", "; picks\n\nGETPOINT (1 2\n");
  runPrograms(program + " --answers " + quoted(answers));
  EXPECT_EQ(exit_code, 2);
  EXPECT_EQ(output,
            "lisp_console: " + answers + ": line 3: answer to GETPOINT: unterminated list\n");
}

TEST_F(ConsoleProgram, TellsWhichAnswersAreLeftAndWhichAreMissing) {
  const std::string program = file("a.lsp", "(DEFUN PICK ()\n  (GETPOINT))\n(PICK)\n(PICK)\n");
  const std::string answers = file("picks.txt", "GETDIST 5\n\nGETPOINT (1 2)\n");
  runPrograms(quoted(program) + " --answers " + quoted(answers));
  EXPECT_EQ(exit_code, 1);
  EXPECT_EQ(output,
            "run     cancelled         " + answers +
                ": no answer is left for GETPOINT; add a line such as GETPOINT (10 20 0)\n" +
                program +
                ":2:3: CAD host call required: GETPOINT\n"
                "    2 |   (GETPOINT))\n"
                "      |   ^^^^^^^^^^\n"
                "  in        PICK, called at " +
                program + ":4:1  (PICK)\n" + answers + ": line 1: not asked for: GETDIST 5\n");
}

TEST_F(ConsoleProgram, TellsWhatIsWrongWithTheWorker) {
  const std::string program = quoted(file("a.lsp", "1"));
  run("--worker /no/such/worker " + program);
  EXPECT_EQ(exit_code, 3);
  EXPECT_EQ(output, "lisp_console: /no/such/worker: No such file or directory\n");

  run("--worker /bin/false " + program);
  EXPECT_EQ(exit_code, 3);
  EXPECT_THAT(output, EndsWith("the worker ended with exit code 1: not an exit code of the "
                               "worker\n"));

  run("--worker /bin/cat " + program);
  EXPECT_EQ(exit_code, 3);
  EXPECT_THAT(output, HasSubstr("lisp_console: the worker answered a request of type 2 with Ok "
                                "with 416 bytes; the worker ended with exit code 0"));
}

TEST_F(ConsoleProgram, TakesAnEmptyProgram) {
  runPrograms("--conversation " + quoted(file("empty.lsp", "")));
  EXPECT_EQ(exit_code, 0);
  EXPECT_THAT(output, HasSubstr("worker  Ok                result: nil   [0 steps]\n"));
}

TEST_F(ConsoleProgram, DoesNotSendTooLongAProgram) {
  runPrograms(quoted(file("long.lsp", "1" + std::string(1048575, ' '))));
  EXPECT_EQ(exit_code, 0);
  runPrograms(quoted(file("long.lsp", "1" + std::string(1048576, ' '))));
  EXPECT_EQ(exit_code, 1);
  EXPECT_THAT(output,
              StartsWith("error: the program is too long to send: it has 1048577 bytes, and "
                         "1048576 are the most; move functions"));
}

TEST_F(ConsoleProgram, RunsAllExamples) {
  runPrograms("--conversation " + quoted(environment("LISP_SOURCE_DIR")) + "/examples/*.lsp");
  EXPECT_EQ(exit_code, 0) << output;
  EXPECT_THAT(output, StartsWith("== "));
  EXPECT_THAT(output, HasSubstr("== the drawing at the end: 266 entities\n"));
}

}  // namespace
}  // namespace lisp_worker::console
