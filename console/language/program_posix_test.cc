// `lisp_console lsp` as its client meets it: a process with pipes.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "console/base_protocol.h"
#include "testing/base/test_environment.h"
#include "testing/workers/child_process.h"

namespace lisp_worker::console {
namespace {

using testing::HasSubstr;
using testing_support::ChildProcess;
using testing_support::environment;

class LspProgram : public testing::Test {
 protected:
  LspProgram() : child_({.arguments = {"lsp"}, .executable = environment("LISP_CONSOLE_PATH")}) {
    child_.send(framed(R"({"id":1,"method":"initialize","params":{}})"));
  }

  ChildProcess child_;
};

const std::string kOpen = framed(R"x({"method":"textDocument/didOpen","params":{"textDocument":)x"
                                 R"x({"uri":"untitled:a","version":3,"text":"(LIST X)"}}})x");

TEST_F(LspProgram, HoldsAConversation) {
  child_.send(framed(R"({"method":"initialized","params":{}})") + kOpen +
              framed(R"({"id":2,"method":"shutdown"})") + framed(R"({"method":"exit"})"));
  child_.endInput();
  const std::string output = child_.receiveAll();
  EXPECT_THAT(output, HasSubstr("\"hoverProvider\":true"));
  EXPECT_THAT(output, HasSubstr(R"({"jsonrpc":"2.0","id":2,"result":null})"));
  EXPECT_EQ(child_.end(), "exit code 0");
  EXPECT_EQ(child_.errors(), "");
}

TEST_F(LspProgram, AnswersWhileItsInputStaysOpen) {
  child_.send(kOpen);
  std::string output;
  while (output.find("unbound symbol: X") == std::string::npos) {
    const std::string more = child_.receive(1);
    ASSERT_NE(more, "");
    output += more;
  }
  EXPECT_THAT(output, HasSubstr("\"version\":3"));
}

TEST_F(LspProgram, EndsWhenItsClientLeavesInMidMessage) {
  child_.send("Content-Length: 500\r\n\r\n{\"id\"");
  child_.endInput();
  static_cast<void>(child_.receiveAll());
  EXPECT_EQ(child_.end(), "exit code 1");
}

TEST_F(LspProgram, EndsWhenNobodyReadsItsAnswers) {
  child_.closeOutput();
  std::string many;
  for (int n = 0; n < 20; ++n) many += framed(R"({"id":5,"method":"initialize","params":{}})");
  child_.send(many);
  EXPECT_EQ(child_.end(), "exit code 1");
}

TEST(LspCommandLine, TakesNothing) {
  ChildProcess child(
      {.arguments = {"lsp", "--stdio"}, .executable = environment("LISP_CONSOLE_PATH")});
  child.endInput();
  EXPECT_EQ(child.end(), "exit code 1");  // Accepted; no client has come.
  ChildProcess wrong(
      {.arguments = {"lsp", "a.lsp"}, .executable = environment("LISP_CONSOLE_PATH")});
  wrong.endInput();
  EXPECT_EQ(wrong.end(), "exit code 2");
  EXPECT_THAT(wrong.errors(), HasSubstr("lsp takes nothing"));
}

}  // namespace
}  // namespace lisp_worker::console
