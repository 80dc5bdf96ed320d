// The prompt in a real terminal, which tmux keeps, and at the end of a pipe.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <regex>
#include <sstream>
#include <string>
#include <thread>

#include "testing/base/command_output.h"
#include "testing/base/test_environment.h"

namespace lisp_worker::console {
namespace {

using testing::HasSubstr;
using testing::Not;
using testing_support::environment;
using testing_support::runCommand;

class Directory {
 public:
  Directory() { std::filesystem::create_directories(path); }
  ~Directory() { std::filesystem::remove_all(path); }
  std::filesystem::path path =
      std::filesystem::temp_directory_path() / ("lisp_prompt_test." + std::to_string(::getpid()));
};

class PipedPrompt : public testing::Test {
 protected:
  // The prompt's output for these lines.
  std::string say(const std::string& lines, const std::string& options = "") {
    return run(lines, "--worker '" + environment("LISP_WORKER_PATH") + "' " + options);
  }

  std::string run(const std::string& lines, const std::string& options) {
    const auto path = directory.path / "lines.txt";
    std::ofstream(path) << lines;
    const auto result =
        runCommand("cd '" + directory.path.string() + "' && '" + environment("LISP_CONSOLE_PATH") +
                   "' " + options + " <'" + path.string() + "' 2>&1");
    exit_code = result.exit_code;
    return result.text;
  }

  [[nodiscard]] std::string written(const std::string& name) const {
    std::ostringstream text;
    text << std::ifstream(directory.path / name).rdbuf();
    return text.str();
  }

  Directory directory;
  int exit_code = -1;
};

TEST_F(PipedPrompt, RunsAFormWhenItsParenthesesClose) {
  // Nobody sees prompts at the end of a pipe, so there are none, and no greeting.
  EXPECT_EQ(say("(SETQ A\n 5) (SETQ B\n\"x\n(\")\n(LIST A B)\n"),
            "result: \"x\\n(\"   [4 steps]\nresult: (5 \"x\\n(\")   [3 steps]\n");
}

TEST_F(PipedPrompt, UnderstandsHelpAndQuitWithoutAColon) {
  for (const char* const word : {"quit", "EXIT", " Quit ", "(exit)"}) {
    EXPECT_EQ(say(std::string(word) + "\n(+ 1 1)\n"), "") << word;
  }
  EXPECT_THAT(say("help\n"), HasSubstr(":doc NAME"));
  EXPECT_THAT(say("?\n"), HasSubstr(":doc NAME"));
  // A definition of the program comes first.
  EXPECT_EQ(say("(SETQ HELP 7)\nhelp\n(DEFUN QUIT () 8)\n(quit)\n"),
            "result: 7   [2 steps]\nresult: 7   [1 step]\nresult: QUIT   [1 step]\n"
            "result: 8   [2 steps]\n");
  EXPECT_THAT(say(":qiut\n"), HasSubstr("there is no :qiut; :quit?; :help"));
}

TEST_F(PipedPrompt, ListsVariablesAndFunctions) {
  EXPECT_EQ(say(":vars\n(SETQ PLACE '(1 2) TEXT \"a\\nb\")\n(DEFUN F (X / Y) X)\n:vars\n"),
            "there are no variables and no functions yet\n"
            "result: \"a\\nb\"   [3 steps]\nresult: F   [1 step]\n"
            "  PLACE           (1 2)\n  TEXT            \"a\\nb\"\n"
            "  F               function of (X / Y)\n");
}

TEST_F(PipedPrompt, KeepsTheLastValue) {
  EXPECT_EQ(say(":last\n(LIST 1 \"a\\\"b\")\n:last\n(CAR (CDR :Last))\n:last\n(LIST \":last\") ; "
                ":last\n"),
            "nil\nresult: (1 \"a\\\"b\")   [3 steps]\n(1 \"a\\\"b\")\n"
            "result: \"a\\\"b\"   [3 steps]\n\"a\\\"b\"\nresult: (\":last\")   [2 steps]\n");
  // A program that fails has none.
  EXPECT_THAT(say("5\n(FOO)\n:last\n"), testing::EndsWith("\n5\n"));
  EXPECT_THAT(say("(/ 1e308 1e-10)\n(LIST :last)\n"),
              HasSubstr("no text can be written for the last value\n"));
}

TEST_F(PipedPrompt, TellsHowLongAFormTakes) {
  const std::string said = say("(SETQ N 0)\n:time (WHILE (< N 9) (SETQ N (1+ N)))\n:time\n");
  EXPECT_TRUE(
      std::regex_search(said, std::regex("result: 9   \\[58 steps\\]\n"
                                         "time: [0-9]+[.][0-9]{2} ms, 58 steps, 0 host calls\n"
                                         "time: [0-9]+[.][0-9]{2} ms, 58 steps, 0 host calls\n$")))
      << said;
}

TEST_F(PipedPrompt, SearchesTheDocumentation) {
  const std::string circle = say(":doc radius\n");
  for (const char* const part :
       {"in the texts of\n", "\n  CIRCLE  ", "\n  CIRCLE group 40   the radius",
        "\n  ARC group 40      the radius"}) {
    EXPECT_THAT(circle, HasSubstr(part));
  }
  EXPECT_THAT(say(":doc circle\n"), HasSubstr("a command, for (COMMAND \"CIRCLE\""));
  EXPECT_THAT(say(":doc circle\n"), HasSubstr("CIRCLE, an entity, by its groups:"));
  EXPECT_THAT(say(":doc text\n"), HasSubstr("also in the texts of\n"));
  EXPECT_THAT(say(":doc :undo\n"), HasSubstr(":undo   [of the prompt]\n  take back"));
  EXPECT_THAT(say(":doc taken\n"), HasSubstr("  :redo  "));
  EXPECT_THAT(say(":doc ssname expects\n"),
              HasSubstr("  SSNAME            errors: ssname expects"));
  EXPECT_THAT(say(":doc zzyzx\n"), HasSubstr("nothing is known of ZZYZX\n"));
  EXPECT_THAT(say(":doc x\n"), HasSubstr("nothing is known of X"));
}

TEST_F(PipedPrompt, RunsWhatTheEditorLeaves) {
  const auto script = directory.path / "editor.sh";
  std::ofstream(script)
      << "#!/bin/sh\nstat -c %a \"$(dirname \"$2\")\" >mode\nsed -i \"$1\" \"$2\"\n";
  const auto edited = [&](const std::string& change, const std::string& lines) {
    ::setenv("VISUAL", ("sh '" + script.string() + "' '" + change + "'").c_str(), 1);
    std::string said = say(lines);
    ::unsetenv("VISUAL");
    return said;
  };
  EXPECT_THAT(edited("s/20/30/", "(+ 20\n 1)\n:edit\n:edit\n"),
              HasSubstr("result: 21   [3 steps]\n(+ 30\n 1)\nresult: 31   [3 steps]\n"
                        "nothing has changed, so nothing is run\n"));
  EXPECT_EQ(written("mode"), "700\n");
  std::ofstream(directory.path / "own.lsp") << "(* 20 2)\n";
  EXPECT_THAT(edited("s/2)/3)/", ":edit own.lsp\n"), HasSubstr("result: 60 "));
  EXPECT_EQ(written("own.lsp"), "(* 20 3)\n");
  // The last program was a file, which is what is edited.
  EXPECT_THAT(edited("s/3)/4)/", "(+ 1 1)\n:load own.lsp\n:edit\n"), HasSubstr("result: 80 "));
  ::setenv("VISUAL", "false", 1);
  EXPECT_THAT(say("(+ 1 1)\n:edit\n"), HasSubstr("false has failed\n"));
  ::unsetenv("VISUAL");
}

TEST_F(PipedPrompt, ExplainsErrorsAndGoesOn) {
  const std::string said = say("(DEFUN F (X) (/ 1 X))\n(F 0)\n(F 4)\n)\n5\n");
  EXPECT_THAT(said, HasSubstr("input 1:1:19: division by zero"));
  EXPECT_THAT(said, HasSubstr("F, called at input 2:1:1"));
  EXPECT_THAT(said, HasSubstr("result: 0.25"));
  EXPECT_THAT(said, HasSubstr("unexpected ')'"));
  EXPECT_THAT(said, HasSubstr("result: 5"));
}

TEST_F(PipedPrompt, TakesBackDrawingAndDefinitions) {
  const std::string said =
      say("(SETQ A 1)\n(SETQ A 2)\n(COMMAND \"POINT\" \"1,1\" \"\")\n:undo\n:drawing\nA\n:undo\n"
          ":undo\nA\n:undo\n:undo\n:undo\n");
  EXPECT_THAT(said, HasSubstr("the drawing: 0 entities"));
  EXPECT_THAT(said, HasSubstr("result: 2 "));
  EXPECT_THAT(said, HasSubstr("result: 1 "));
  EXPECT_THAT(said, HasSubstr("there is nothing to take back"));
}

TEST_F(PipedPrompt, TellsWhatComesBack) {
  const std::string said =
      say("(COMMAND \"POINT\" \"1,1\" \"\")\n(DEFUN F () 5)\n(COMMAND \"ERASE\" \"E1\" \"\")\n"
          ":undo\n:undo\n:redo\n:redo\n:redo\n:undo\n(F)\n:redo\n");
  EXPECT_THAT(said, HasSubstr("taken back: input 3; the drawing has 1 entity\n"
                              "drawing added             E1 POINT on layer 0: at (1 1 0)\n"));
  EXPECT_THAT(said, HasSubstr("taken back: input 2; the drawing has 1 entity\n"
                              "functions gone: F\n"));
  EXPECT_THAT(said, HasSubstr("done again: input 2; the drawing has 1 entity\n"
                              "functions back: F\n"));
  EXPECT_THAT(said, HasSubstr("done again: input 3; the drawing has 0 entities\n"
                              "drawing erased            E1 POINT on layer 0: at (1 1 0)\n"
                              "there is nothing to do again\n"
                              "taken back: input 3; "));
  // Behind another program there is nothing to do again.
  EXPECT_THAT(said, HasSubstr("result: 5   [2 steps]\nthere is nothing to do again\n"));
}

TEST_F(PipedPrompt, LeavesNothingOfAFailedProgram) {
  const std::string said =
      say("(COMMAND \"POINT\" \"1,1\" \"\")\n(PROGN (COMMAND \"POINT\" \"2,2\" \"\") (/ 1 0))\n"
          ":drawing\n(COMMAND \"POINT\" \"3,3\" \"\")\n:undo\n:undo\n:undo\n");
  EXPECT_THAT(said, HasSubstr("drawing untouched         what the program had changed is taken "
                              "back: 1 entity   [--keep keeps it]\n"));
  EXPECT_THAT(said, HasSubstr("== the drawing: 1 entity\n"));
  EXPECT_THAT(said, HasSubstr("E2 POINT on layer 0: at (3 3 0)"));
  EXPECT_THAT(said, HasSubstr("taken back: input 3; the drawing has 1 entity\n"));
  EXPECT_THAT(said, HasSubstr("taken back: input 1; the drawing has 0 entities\n"));
  EXPECT_THAT(said, HasSubstr("there is nothing to take back\n"));
}

TEST_F(PipedPrompt, AsksForPicksUntilItUnderstands) {
  const std::string said = say(
      "(GETPOINT \"Where? \")\nnowhere\n10,20\n(GETDIST '(0 0))\n3,4\n(GETPOINT)\n@5<90\n(SSGET)\n"
      "\n(COMMAND \"CIRCLE\" '(50 50) 5)\n(SSGET '((0 \"LINE\")))\nall\n(SSGET '((0 "
      "\"CIRCLE\")))\nall\n(GETPOINT)\ncen 48,52\n(GETDIST)\n");
  EXPECT_THAT(said, HasSubstr("a point is 10,20"));
  EXPECT_THAT(said, HasSubstr("result: (10 20 0)"));
  EXPECT_THAT(said, HasSubstr("result: 5 "));
  EXPECT_THAT(said, HasSubstr("result: (10 25 0)"));
  EXPECT_THAT(said, HasSubstr("result: nil"));
  EXPECT_THAT(said, HasSubstr("all\nresult: nil   [2 steps]\nSelect"));
  EXPECT_THAT(said, HasSubstr("result: ($KVSEL \"E1\")"));
  EXPECT_THAT(said, HasSubstr("result: (50 50 0)"));
  EXPECT_THAT(said, HasSubstr("cancelled   "));
  EXPECT_THAT(said, HasSubstr("no answer was given to GETDIST"));
}

TEST_F(PipedPrompt, KnowsItsCommands) {
  const std::string said = say(
      "(DEFUN F (X) (* 2 X))\n(COMMAND \"LINE\" '(0 0) '(9 9) \"\")\n:help\n:doc WHILE\n:doc f\n"
      ":doc mirror\n:doc whlie\n:steps\n:calls\n:picture\n:picture a.gif\n:save out.json\n"
      ":save defs.lsp\n:save\n:load out.json\n:load defs.lsp\n:load none.lsp\n:nonsense\n"
      "(F 4)\n:quit\n(F 5)\n");
  for (const char* const part :
       {":undo", "(WHILE CONDITION FORM ...)   [special form]", "defined at input 1:1:1",
        "MIRROR selection", "nothing is known of WHLIE; WHILE?", "steps in the last program",
        "1  (COMMAND (\"LINE\" (0 0) (9 9) \"\"))  =>  nil   [added E1]", "picture: drawing.svg",
        "a.gif: the name must end", "written: out.json", "written: defs.lsp", "save where?",
        "the drawing has 1 entities", "none.lsp: cannot be read", "there is no :nonsense",
        "result: 8"}) {
    EXPECT_THAT(said, HasSubstr(part));
  }
  EXPECT_THAT(said, Not(HasSubstr("result: 10")));
  EXPECT_TRUE(std::filesystem::exists(directory.path / "drawing.svg"));
}

TEST_F(PipedPrompt, ShowsWhatTheDrawingHasRefused) {
  EXPECT_THAT(
      say("(COMMAND \"ERASE\" \"E7\" \"\")\n"),
      HasSubstr("input 1:1:18: COMMAND refused: nothing done: ERASE: there is no entity E7\n"
                "    1 | (COMMAND \"ERASE\" \"E7\" \"\")\n"));
}

TEST_F(PipedPrompt, ShowsWhatACancelledProgramHasDone) {
  const std::string said =
      say("(WHILE T\n(COMMAND \"ERASE\" \"E7\" \"\")\n(GETPOINT))\n1,1\n2,2\n");
  EXPECT_THAT(said, HasSubstr("input 1:2:18: COMMAND refused: "));
}

TEST_F(PipedPrompt, LoadsLibrariesAndDrawingsFirst) {
  std::ofstream(directory.path / "lib.lsp") << "(DEFUN TWICE (X) (* 2 X))";
  std::ofstream(directory.path / "d.json") << R"({"entities": [{"type": "POINT", "at": [1, 2]}]})";
  const std::string said = say("(TWICE 21)\n:drawing\n", "--load lib.lsp --drawing d.json");
  EXPECT_THAT(said, HasSubstr("result: 42"));
  EXPECT_THAT(said, HasSubstr("E1 POINT"));
}

TEST_F(PipedPrompt, TakesAnswersFromAFileBeforeItAsks) {
  std::ofstream(directory.path / "picks.txt") << "GETPOINT (7 8 0)\n";
  const std::string said =
      say("(GETPOINT \"First? \")\n(GETPOINT \"Second? \")\n1,2\n", "--answers picks.txt --ask");
  EXPECT_THAT(said, HasSubstr("result: (7 8 0)"));
  EXPECT_THAT(said, Not(HasSubstr("First? ")));
  EXPECT_THAT(said, HasSubstr("Second? 1,2\nresult: (1 2 0)"));
}

TEST_F(PipedPrompt, TracesProfilesAndCoversAForm) {
  std::ofstream(directory.path / "two.lsp") << "(DEFUN TWO () 2)\n(TWO)\n";
  const std::string twice = "(DEFUN TWICE (X) (IF (< X 0) 0 (* 2 X)))\n";
  std::string said = say(twice + ":trace (TWICE (TWICE 3))\n(TWICE 1)\n:trace two.lsp\n");
  EXPECT_THAT(said, HasSubstr("result: 12   [17 steps]\n"
                              "== trace of input 2: 2 calls\n"
                              "input 2:1:8             1  (TWICE 3) = 6\n"
                              "input 2:1:1             1  (TWICE 6) = 12\n"
                              "result: 2   [9 steps]\n"));
  EXPECT_THAT(said, HasSubstr("two.lsp:2:1             1  (TWO) = 2\n"));
  said = say(twice + ":profile (TWICE 3)\n");
  EXPECT_THAT(said, HasSubstr("result: 6   "));
  EXPECT_THAT(said, HasSubstr("== profile"));
  EXPECT_THAT(said, HasSubstr("TWICE"));
  said = say(twice + ":coverage (TWICE 3)\n");
  EXPECT_THAT(said, HasSubstr("== coverage of input 1: "));
  EXPECT_THAT(said, HasSubstr("the THEN of IF was never taken\n"));
  said = say(":trace\n:trace (+ 1 2)\n:coverage (FOO)\n(+ 1 1)\n");
  EXPECT_THAT(said, HasSubstr("trace what? :trace FORM, or a .lsp file\n"));
  EXPECT_THAT(said, HasSubstr("== trace: no calls of functions or of the host\n"));
  EXPECT_THAT(said, HasSubstr("unsupported LISP function: FOO"));
  EXPECT_THAT(said, testing::EndsWith("result: 2   [3 steps]\n"));
}

TEST_F(PipedPrompt, ShortensALongListOfCalls) {
  const std::string loop = "(SETQ N 0)\n(WHILE (< N 30) (SETQ N (1+ N)) (OSNAP '(0 0) \"end\"))\n";
  const std::string said = say(loop + ":calls\n");
  EXPECT_THAT(said, HasSubstr("\n  24  (OSNAP "));
  EXPECT_THAT(said, Not(HasSubstr("\n  25  (OSNAP ")));
  EXPECT_THAT(said, HasSubstr("\n... and 6 more calls: :calls all shows them\n"));
  EXPECT_THAT(say(loop + ":calls all\n"), HasSubstr("\n  30  (OSNAP "));
}

TEST_F(PipedPrompt, ShowsCallsOnlyWhenItIsTold) {
  const std::string draws = "(COMMAND \"POINT\" \"1,1\" \"\")\n";
  EXPECT_THAT(say(draws, "--brief"), Not(HasSubstr("HostCallPending")));
  EXPECT_THAT(say(draws), Not(HasSubstr("HostCallPending")));
  EXPECT_THAT(say(draws, "--conversation"), HasSubstr("HostCallPending   call 1: COMMAND with"));
}

TEST_F(PipedPrompt, WritesAtItsEndWhatTheCommandLineWants) {
  std::ofstream(directory.path / "d.json")
      << R"({"entities": [{"type": "LINE", "from": [0, 0], "to": [9, 0]}], "cells": {"size": 5}})";
  const std::string said = say("(COMMAND \"POINT\" \"1,1\" \"\")\n:picture plain.svg\n:quit\n",
                               "--drawing d.json --save out.json --picture out.svg");
  EXPECT_THAT(said, HasSubstr("picture: out.svg"));
  EXPECT_THAT(written("out.json"), HasSubstr("POINT"));
  EXPECT_EQ(exit_code, 0);
  say(":picture marked.svg\n", "--drawing d.json --axes --cells");
  EXPECT_GT(written("marked.svg").size(), written("plain.svg").size() + 100);
  EXPECT_THAT(say("", "--save /no/such/directory/out.json"), HasSubstr("cannot be written"));
  EXPECT_EQ(exit_code, 2);
}

TEST_F(PipedPrompt, SaysByItsExitCodeThatTheWorkerIsBroken) {
  EXPECT_THAT(run("5\n6\n", "--worker /bin/false"), HasSubstr("lisp_console: the worker"));
  EXPECT_EQ(exit_code, 3);
  run("", "--worker /bin/false");
  EXPECT_EQ(exit_code, 3);
  run("5\n", "--worker /bin/cat");
  EXPECT_EQ(exit_code, 3);
  say("(CAR 1 2");
  EXPECT_EQ(exit_code, 1);
  // The drawing is not lost with it.
  run("5\n", "--worker /bin/false --save kept.json");
  EXPECT_EQ(exit_code, 3);
  EXPECT_THAT(written("kept.json"), HasSubstr("entities"));
}

TEST_F(PipedPrompt, TakesBackALoadedDrawing) {
  std::ofstream(directory.path / "d.json") << R"({"entities": [{"type": "POINT", "at": [1, 2]}]})";
  const std::string draws = "(COMMAND \"CIRCLE\" \"0,0\" 5)\n";
  say(draws + ":picture a.svg\n");
  say(draws + ":load d.json\n:undo\n:picture b.svg\n");
  EXPECT_EQ(written("a.svg"), written("b.svg"));
  say(":load d.json\n:undo\n" + draws + ":picture c.svg\n");
  EXPECT_EQ(written("a.svg"), written("c.svg"));
}

// The time from the start of the console, in a terminal of its own, to the first prompt.
std::chrono::microseconds timeToFirstPrompt(const std::string& history_path) {
  const std::string console = environment("LISP_CONSOLE_PATH");
  const std::string worker = environment("LISP_WORKER_PATH");
  const auto start = std::chrono::steady_clock::now();
  int terminal = -1;
  const pid_t child = ::forkpty(&terminal, nullptr, nullptr, nullptr);
  if (child == 0) {
    ::setenv("TERM", "xterm", 1);
    ::setenv("LISP_CONSOLE_HISTORY", history_path.c_str(), 1);
    ::execl(console.c_str(), console.c_str(), "--worker", worker.c_str(), nullptr);
    ::_exit(127);
  }
  std::string shown;
  std::chrono::steady_clock::duration time{};
  std::array<char, 4096> buffer{};
  for (ssize_t size = 1; size > 0;) {
    size = ::read(terminal, buffer.data(), buffer.size());
    if (size > 0) shown.append(buffer.data(), static_cast<std::size_t>(size));
    if (time.count() != 0 || shown.find("lisp>") == std::string::npos) continue;
    time = std::chrono::steady_clock::now() - start;
    EXPECT_EQ(::write(terminal, ":quit\r", 6), 6);
  }
  ::close(terminal);
  EXPECT_EQ(::waitpid(child, nullptr, 0), child);
  EXPECT_NE(time.count(), 0) << shown;
  return std::chrono::duration_cast<std::chrono::microseconds>(time);
}

// On a busy machine one try says little, so the best of some counts.
TEST_F(PipedPrompt, IsThereWithinFiftyMilliseconds) {
#ifdef LISP_SANITIZE
  constexpr std::chrono::milliseconds kPromise{500};  // It checks itself, and does not ship.
#else
  constexpr std::chrono::milliseconds kPromise{50};
#endif
  constexpr int kTryCountMax = 20;
  auto best = timeToFirstPrompt(directory.path / "history");
  int count = 1;
  for (; best >= kPromise && count < kTryCountMax; ++count) {
    best = std::min(best, timeToFirstPrompt(directory.path / "history"));
  }
  std::printf("first prompt after %.1f ms, in try %d\n", static_cast<double>(best.count()) / 1000,
              count);
  EXPECT_LT(best, kPromise);
}

// One terminal of a tmux server of its own.
class TerminalPrompt : public testing::Test {
 protected:
  ~TerminalPrompt() override { tmux("kill-server"); }

  std::string tmux(const std::string& command) const {
    return runCommand("tmux -f /dev/null -L " + server_ + " " + command + " 2>&1").text;
  }

  void start() {
    // A server that has just ended can be in the way of the next.
    for (int n = 0; n < 20 && tmux("has-session") != ""; ++n) {
      if (n != 0) std::this_thread::sleep_for(std::chrono::milliseconds(50));
      newSession();
    }
    EXPECT_TRUE(shows("lisp>")) << screen();
  }

  void newSession() const {
    tmux("new-session -d -x 110 -y 50 \"LISP_CONSOLE_HISTORY='" +
         (directory.path / "history").string() + "' exec '" + environment("LISP_CONSOLE_PATH") +
         "' --worker '" + environment("LISP_WORKER_PATH") + "'\"");
  }

  [[nodiscard]] std::string screen() const { return tmux("capture-pane -p"); }

  // True when the screen comes to show the text.
  [[nodiscard]] bool shows(const std::string& text) const {
    for (int n = 0; n < 1000; ++n) {
      if (screen().find(text) != std::string::npos) return true;
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return false;
  }

  static void waitALittle() { std::this_thread::sleep_for(std::chrono::milliseconds(10)); }

  void type(const std::string& keys) { tmux("send-keys -l '" + keys + "'"); }
  void press(const std::string& key) { tmux("send-keys " + key); }
  // True when the screen comes to show the text, with its sequences.
  [[nodiscard]] bool showsStyled(const std::string& text) const {
    for (int n = 0; n < 1000; ++n) {
      if (styledScreen().find(text) != std::string::npos) return true;
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return false;
  }

  // The sequences that the console writes, without those that the terminal adds by itself.
  [[nodiscard]] std::string styledScreen() const {
    return std::regex_replace(tmux("capture-pane -e -p"), std::regex("\033\\[[34]9m"), "");
  }

  void clearScreen() const {
    tmux("send-keys C-l");
    tmux("clear-history");
  }

  [[nodiscard]] std::string cursor() const {
    return tmux("display-message -p '#{cursor_x} #{cursor_y}'");
  }

  // Keys that come all at once are taken for a paste. So Enter is pressed when the line is there,
  // and nothing more before it has moved the cursor.
  void enter(const std::string& line) {
    type(line);
    for (int n = 0; n < 100 && screen().find(line) == std::string::npos; ++n) waitALittle();
    const std::string before = cursor();
    press("Enter");
    for (int n = 0; n < 100 && cursor() == before; ++n) waitALittle();
  }

  Directory directory;

 private:
  std::string server_ = "lisp_prompt_test_" + std::to_string(::getpid());
};

// Pasted text is text: its tabs complete nothing, and each of its lines is a line.
TEST_F(TerminalPrompt, TakesWhatIsPasted) {
  start();
  const auto paste = [this](const std::string& text, const char* option) {
    const auto path = directory.path / "pasted";
    std::ofstream(path) << text;
    tmux("load-buffer '" + path.string() + "'");
    tmux(std::string("paste-buffer ") + option);
  };
  // Marked by the terminal, and not.
  for (const char* const option : {"-p", ""}) {
    paste("(LIST\t1\t2)\n", option);
    EXPECT_TRUE(shows("result: (1 2) ")) << option << screen();
    paste("(LIST\n  3\n\t\"\xC3\xA9\")\n(+ 20 1)\n(* 100", option);
    EXPECT_TRUE(shows("result: (3 \"\xC3\xA9\") ")) << option << screen();
    EXPECT_TRUE(shows("result: 21 ")) << option << screen();
    EXPECT_TRUE(shows("lisp> (* 100")) << option << screen();
    enter(" 7)");
    EXPECT_TRUE(shows("result: 700 ")) << option << screen();
    tmux("send-keys -R");
    tmux("clear-history");
    press("C-l");
  }
}

TEST_F(TerminalPrompt, EditsCompletesRemembersCancelsAndSurvives) {
  start();
  enter("(DEFUN TWICE (X)");
  enter("(* 2 X))");
  ASSERT_TRUE(shows("result: TWICE")) << screen();
  EXPECT_THAT(screen(), HasSubstr("lisp> (DEFUN TWICE (X)\n        (* 2 X))\n"));

  type("(twi");
  press("Tab");
  ASSERT_TRUE(shows("(twice")) << screen();
  enter("21)");
  ASSERT_TRUE(shows("result: 42")) << screen();
  type("(ss");
  press("Tab");
  press("Tab");
  EXPECT_TRUE(shows("SSGET  SSLENGTH  SSNAME")) << screen();
  press("C-c");
  EXPECT_TRUE(shows("^C")) << screen();

  press("Up");
  press("Left");
  type("00");
  press("Enter");
  EXPECT_TRUE(shows("result: 4200")) << screen();

  // A run that goes on for long says so; Ctrl-C ends it and not the session.
  enter("(COMMAND \"POINT\" \"0,0\" \"\") (SETQ N 0)");
  enter("(WHILE (< N 12) (COMMAND \"COPY\" \"ALL\" \"\" \"0,0\" \"1,0\") (SETQ N (1+ N)))");
  enter("(WHILE T (COMMAND \"MOVE\" \"ALL\" \"\" \"0,0\" \"0,1\"))");
  ASSERT_TRUE(shows("host calls answered")) << screen();
  press("C-c");
  ASSERT_TRUE(shows("cancelled after")) << screen();
  EXPECT_THAT(screen(), Not(HasSubstr("Ctrl-C cancels"))) << "the progress has stayed";
  enter("(TWICE 5)");
  EXPECT_TRUE(shows("result: 10 ")) << screen();

  // The worker dies; what was defined is there again in the next one.
  const std::string console_pid = tmux("display-message -p '#{pane_pid}'");
  runCommand("kill -9 $(ps -o pid= --ppid " + std::to_string(std::stol(console_pid)) + ")");
  enter("(TWICE 6)");
  ASSERT_TRUE(shows("the worker is gone")) << screen();
  enter("(TWICE 7)");
  EXPECT_TRUE(shows("result: 14")) << screen();

  press("C-d");
  for (int n = 0; n < 500 && tmux("list-sessions").find("110") != std::string::npos; ++n) {
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  start();
  press("Up");
  EXPECT_TRUE(shows("(TWICE 7)")) << screen();
}

// A form of several lines is one thing to edit, to bring back and to keep.
TEST_F(TerminalPrompt, EditsFormsOfSeveralLines) {
  start();
  enter("(LIST 1");
  enter("(+ 2");
  enter("30))");
  ASSERT_TRUE(shows("result: (1 32) ")) << screen();
  EXPECT_THAT(screen(), HasSubstr("lisp> (LIST 1\n            (+ 2\n               30))\n"));
  enter("(SETQ S \"a");
  enter("b\")");
  ASSERT_TRUE(shows("result: \"a\\nb\" ")) << screen();
  // Blanks of the indent are not the program's.
  enter("(DEFUN AREA (R)");
  enter("(* 3 R R))");
  ASSERT_TRUE(shows("result: AREA")) << screen();
  enter(":doc AREA");
  EXPECT_TRUE(shows("\n(DEFUN AREA (R)\n  (* 3 R R))\n")) << screen();

  // Back by one key, changed in its first line, and run as a whole.
  for (int n = 0; n < 2; ++n) press("C-p");
  press("Up");
  press("BSpace");
  type(" Q)");
  press("Enter");
  ASSERT_TRUE(shows("lisp> (DEFUN AREA (R Q)\n        (* 3 R R))\nresult: AREA")) << screen();
  enter("(AREA 2 0)");
  EXPECT_TRUE(shows("result: 12 ")) << screen();

  press("C-d");
  for (int n = 0; n < 500 && tmux("list-sessions").find("110") != std::string::npos; ++n) {
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  const std::string kept = runCommand("cat '" + (directory.path / "history").string() + "'").text;
  EXPECT_THAT(kept, HasSubstr("\n(DEFUN AREA (R Q)\\n        (* 3 R R))\n(AREA 2 0)\n"));
  EXPECT_EQ(runCommand("stat -c %a '" + (directory.path / "history").string() + "'").text, "600\n");
  start();
  press("Up");
  press("C-p");
  EXPECT_TRUE(shows("lisp> (DEFUN AREA (R Q)\n        (* 3 R R))")) << screen();
}

TEST_F(TerminalPrompt, ShowsTheBracketThatBelongs) {
  start();
  type("(LIST (CAR X))");
  EXPECT_TRUE(showsStyled("\033[7m(\033[0mLIST (CAR X))")) << styledScreen();
  press("Left");
  EXPECT_TRUE(showsStyled("(LIST \033[7m(\033[0mCAR X))")) << styledScreen();
  press("C-a");
  EXPECT_TRUE(showsStyled("(LIST (CAR X)\033[7m)")) << styledScreen();
  press("C-c");
  // In another line, and not for one inside a string.
  enter("(LIST \")\"");
  type("(CDR Y))");
  EXPECT_TRUE(showsStyled("\033[7m(\033[0mLIST \")\"")) << styledScreen();
  press("C-c");
  type("(LIST \")");
  EXPECT_TRUE(shows("(LIST \")")) << screen();
  EXPECT_THAT(styledScreen(), Not(HasSubstr("\033[7m")));
}

TEST_F(TerminalPrompt, CompletesWhatCanComeNext) {
  std::ofstream(directory.path / "plate.lsp") << "(+ 40 2)\n";
  start();
  type("(COMMAND \"ci");
  press("Tab");
  EXPECT_TRUE(shows("(COMMAND \"CIRCLE\"")) << screen();
  type(" \"2");
  press("Tab");
  EXPECT_TRUE(shows("(COMMAND \"CIRCLE\" \"2P\"")) << screen();
  press("C-c");
  type("(ENTMAKE (QUOTE ((0 \"li");
  press("Tab");
  EXPECT_TRUE(shows("((0 \"LINE\"")) << screen();
  press("C-c");
  type("(POLAR ");
  press("Tab");
  EXPECT_TRUE(shows("\n(POLAR POINT ANGLE DISTANCE)\nlisp> (POLAR")) << screen();
  press("C-c");
  clearScreen();
  enter("(DEFUN BOLT (centre-point)");
  type("(CAR cen");
  press("Tab");
  EXPECT_TRUE(shows("(CAR centre-point")) << screen();
  press("C-c");
  type(":lo");
  press("Tab");
  EXPECT_TRUE(shows("lisp> :load")) << screen();
  type(directory.path.string() + "/pl");
  press("Tab");
  EXPECT_TRUE(shows("/plate.lsp")) << screen();
  press("Enter");
  EXPECT_TRUE(shows("result: 42 ")) << screen();
}

}  // namespace
}  // namespace lisp_worker::console
