// How long the language server takes for each request about the longest program that can be sent,
// one MiB, when the text has just been edited. LISP_REQUEST_COUNT says how many of each kind; when
// it is set, the times are shown. The bounds here are far above what it takes, since tests run
// beside others; docs/EDITORS.md has the figures.

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "console/json_parts.h"
#include "console/language/requests.h"
#include "testing/base/random.h"
#include "testing/base/test_environment.h"

namespace lisp_worker::console::language {
namespace {

constexpr const char* kUri = "untitled:text";
constexpr std::size_t kTextSize = (std::size_t{1} << 20U) - 1000;
constexpr std::size_t kFunctionLines = 10;

// As programs are: functions with a comment, locals, a loop, commands.
std::string functionOf(std::size_t n) {
  const std::string own = std::to_string(n);
  const std::string other = std::to_string(n / 2);
  return "; Draws plate " + own + " with its holes.\n" +  //
         "(DEFUN PLATE-" + own + " (CENTRE WIDTH HEIGHT / CORNER N)\n" +
         "  (SETQ CORNER (POLAR CENTRE 0.785 (/ WIDTH 2))\n" +  //
         "        N 0)\n" +                                     //
         "  (WHILE (< N 4)\n" +                                 //
         "    (COMMAND \"CIRCLE\" (POLAR CENTRE (* N 1.5707963267948966) (/ HEIGHT 3)) 2.5)\n" +
         "    (SETQ N (1+ N)))\n" +  //
         "  (IF (> WIDTH 10) (LIST CORNER \"w\xC3\xA4hrend\" WIDTH)\n" + "    (PLATE-" + other +
         " CORNER 11 HEIGHT)))\n\n";
}

class Speed : public testing::Test {
 protected:
  using Milliseconds = std::chrono::duration<double, std::milli>;

  Speed() {
    std::string text;
    while (text.size() < kTextSize) text += functionOf(function_count_++);
    text += "(PLATE-7 (GETPOINT \"Where: \") 3 4)\n";
    static_cast<void>(
        requests_.handle("textDocument/didOpen",
                         {{"textDocument", {{"uri", kUri}, {"version", 1}, {"text", text}}}}));
    static_cast<void>(requests_.takeDiagnostics());
  }

  // Puts a blank into a function, or takes one out.
  void edit() {
    const std::size_t line = random_.below(function_count_) * kFunctionLines + 2;
    const Json start = {{"line", line}, {"character", std::size_t{2}}};
    static_cast<void>(requests_.handle(
        "textDocument/didChange",
        {{"textDocument", {{"uri", kUri}, {"version", 2}}},
         {"contentChanges", {{{"range", {{"start", start}, {"end", start}}}, {"text", " "}}}}}));
  }

  Json parameters() {
    const std::size_t lines[] = {1, 2, 5, 7};
    const std::size_t line = random_.below(function_count_) * kFunctionLines + random_.pick(lines);
    const Json position = {{"line", line}, {"character", 12 + random_.below(20)}};
    return {{"textDocument", {{"uri", kUri}}},
            {"position", position},
            {"positions", Json::array({position})},
            {"range",
             {{"start", position}, {"end", {{"line", line + 60}, {"character", std::size_t{0}}}}}},
            {"newName", "NEW-NAME"},
            {"query", "PLATE-99"},
            {"ch", "\n"}};
  }

  // The time that at most one in a hundred takes longer than.
  static double show(const std::string& name, std::vector<double> times) {
    std::sort(times.begin(), times.end());
    const double p99 = times[(times.size() * 99 + 99) / 100 - 1];
    if (std::getenv("LISP_REQUEST_COUNT") != nullptr) {
      std::printf("%-36s median %7.2f ms   p99 %7.2f ms\n", name.c_str(), times[times.size() / 2],
                  p99);
    }
    return p99;
  }

  Requests requests_;
  testing_support::Random random_{6};
  std::size_t function_count_ = 0;
  const std::size_t count_ = testing_support::setting("LISP_REQUEST_COUNT", 20);
};

TEST_F(Speed, OfRequestsAfterAnEditIsThatOfAnEditor) {
  if (testing_support::isSanitized()) GTEST_SKIP() << "a sanitizer takes its time";
  constexpr double kBound = 1000;
  for (const char* const method :
       {"textDocument/hover", "textDocument/completion", "textDocument/signatureHelp",
        "textDocument/definition", "textDocument/references", "textDocument/documentHighlight",
        "textDocument/prepareRename", "textDocument/rename", "textDocument/documentSymbol",
        "workspace/symbol", "textDocument/foldingRange", "textDocument/selectionRange",
        "textDocument/formatting", "textDocument/rangeFormatting", "textDocument/onTypeFormatting",
        "textDocument/semanticTokens/full", "textDocument/semanticTokens/range",
        "textDocument/inlayHint"}) {
    std::vector<double> times;
    for (std::size_t n = 0; n < count_; ++n) {
      edit();
      const Json params = parameters();
      const auto begin = std::chrono::steady_clock::now();
      const Answer answer = requests_.handle(method, params);
      times.push_back(Milliseconds(std::chrono::steady_clock::now() - begin).count());
      ASSERT_NE(answer.error, kInvalidParams) << method << answer.message;
    }
    EXPECT_LT(show(method, times), kBound) << method;
  }
}

TEST_F(Speed, OfEditsAndDiagnosticsIsThatOfAnEditor) {
  if (testing_support::isSanitized()) GTEST_SKIP() << "a sanitizer takes its time";
  constexpr double kBound = 3000;
  std::vector<double> edits;
  std::vector<double> diagnostics;
  std::vector<double> actions;
  for (std::size_t n = 0; n < count_; ++n) {
    const auto begin = std::chrono::steady_clock::now();
    edit();
    const auto edited = std::chrono::steady_clock::now();
    EXPECT_EQ(requests_.takeDiagnostics().size(), 1U);
    const auto told = std::chrono::steady_clock::now();
    static_cast<void>(requests_.handle("textDocument/codeAction", parameters()));
    const auto acted = std::chrono::steady_clock::now();
    edits.push_back(Milliseconds(edited - begin).count());
    diagnostics.push_back(Milliseconds(told - begin).count());
    actions.push_back(Milliseconds(acted - told).count());
  }
  EXPECT_LT(show("textDocument/didChange", edits), kBound);
  EXPECT_LT(show("diagnostics after an edit", diagnostics), kBound);
  EXPECT_LT(show("textDocument/codeAction", actions), kBound);
}

}  // namespace
}  // namespace lisp_worker::console::language
