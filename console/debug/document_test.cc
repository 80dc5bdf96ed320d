// docs/DEBUGGER.md: its session is held again, command by command.

#include <gtest/gtest.h>

#include <map>
#include <sstream>
#include <string>
#include <utility>

#include "console/debug/debugger.h"
#include "console/program.h"
#include "testing/base/test_environment.h"
#include "testing/formats/document_examples.h"
#include "testing/workers/recorded_run.h"

namespace lisp_worker::console {
namespace {

// Each command of a session with the debugger's answer below it.
std::string hold(const Program& program, const std::string& session_text) {
  auto run = testing_support::recordedRun(program);
  if (!run) return "no run";
  Debugger debugger(std::move(*run));
  std::string text = debugger.summary() + debugger.whereText();
  std::istringstream lines(session_text);
  const std::string prompt = "debug> ";
  for (std::string line; std::getline(lines, line);) {
    if (!line.starts_with(prompt)) continue;
    text += line + "\n" + debugger.execute(line.substr(prompt.size()));
  }
  return text;
}

TEST(DebuggerDocument, ShowsASessionAsItIs) {
  std::map<std::string, std::string> files;
  int session_count = 0;
  for (const auto& block :
       testing_support::fencedBlocks(testing_support::readSource("docs/DEBUGGER.md"))) {
    if (block.info.starts_with("lsp ")) files[block.info.substr(4)] = block.text;
    if (!block.info.starts_with("debug ")) continue;
    const std::string name = block.info.substr(6);
    EXPECT_EQ(hold({.name = name, .text = files[name]}, block.text), block.text);
    ++session_count;
  }
  EXPECT_EQ(session_count, 1);
}

TEST(DebuggerDocument, NamesEveryCommand) {
  const std::string document = testing_support::readSource("docs/DEBUGGER.md");
  for (const std::string& name : Debugger::commandNames()) {
    EXPECT_NE(document.find("`" + name), std::string::npos) << name;
  }
}

}  // namespace
}  // namespace lisp_worker::console
