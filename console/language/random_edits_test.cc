// A text that was changed by many random edits is as good as one that is opened afresh: the server
// gives the same answers to all requests. LISP_EDIT_COUNT says how many edits.
//
// The edits come in rounds. Each round begins with a generated program, edits it at random places
// with pieces that open and close lists, strings and comments, and compares all answers now and
// then.

#include <gtest/gtest.h>

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

#include "console/json_parts.h"
#include "console/language/requests.h"
#include "testing/base/random.h"
#include "testing/base/test_environment.h"
#include "testing/generators/right_programs.h"

namespace lisp_worker::console::language {
namespace {

constexpr const char* kUri = "untitled:text";

Json document() { return {{"uri", kUri}}; }

void open(Requests& requests, const std::string& text) {
  static_cast<void>(requests.handle(
      "textDocument/didOpen", {{"textDocument", {{"uri", kUri}, {"version", 1}, {"text", text}}}}));
}

// Lines and columns as a client counts them, in UTF-16, worked out from the beginning of the text.
Json positionAt(const std::string& text, std::size_t offset) {
  std::size_t line = 0;
  std::size_t character = 0;
  for (std::size_t at = 0; at < offset; ++at) {
    const auto byte = static_cast<unsigned char>(text[at]);
    const bool ends_line = byte == '\n' || (byte == '\r' && text.compare(at, 2, "\r\n") != 0);
    if (ends_line) {
      ++line;
      character = 0;
    } else if ((byte & 0xC0U) != 0x80) {
      character += byte >= 0xF0 ? 2U : 1U;
    }
  }
  return {{"line", line}, {"character", character}};
}

// A byte at which a letter begins, and not between the two bytes of a line end.
std::size_t placeIn(const std::string& text, testing_support::Random& random) {
  std::size_t at = random.below(text.size() + 1);
  while (at > 0 && at < text.size() &&
         ((static_cast<unsigned char>(text[at]) & 0xC0U) == 0x80 ||
          (text[at] == '\n' && text[at - 1] == '\r'))) {
    --at;
  }
  return at;
}

std::string answers(Requests& requests, const Json& position, const Json& range) {
  std::string all;
  for (const char* const method :
       {"hover", "completion", "signatureHelp", "definition", "references", "documentHighlight",
        "documentSymbol", "prepareRename", "foldingRange", "formatting", "rangeFormatting",
        "onTypeFormatting", "selectionRange", "codeAction", "semanticTokens/full",
        "semanticTokens/range", "inlayHint", "rename"}) {
    const Answer answer = requests.handle("textDocument/" + std::string(method),
                                          {{"textDocument", document()},
                                           {"position", position},
                                           {"positions", Json::array({position})},
                                           {"range", range},
                                           {"newName", "NEW-NAME"},
                                           {"ch", "\n"}});
    all += std::string(method) + ": " + answer.result + std::to_string(answer.error) + "\n";
    EXPECT_NE(answer.error, kInvalidParams) << method;
  }
  return all;
}

TEST(RandomEdits, LeaveTheAnswersOfATextThatIsOpenedAfresh) {
  constexpr std::size_t kDefaultCount = 3000;
  constexpr std::size_t kEditsInRound = 100;
  constexpr std::size_t kTextMax = 4000;
  const std::size_t count = testing_support::setting("LISP_EDIT_COUNT", kDefaultCount);
  const std::vector<std::string> pieces = {"(",
                                           ")",
                                           "\"",
                                           ";",
                                           "\n",
                                           "'",
                                           "\r\n",
                                           "\r",
                                           " ",
                                           "X",
                                           "\xC3\xA9",
                                           "\xF0\x9D\x84\x9E",
                                           "(DEFUN F (X / Y) (SETQ Y X) Y)\n",
                                           "\\",
                                           "\n(",
                                           "))",
                                           "(POLAR P 1.57 2)",
                                           "",
                                           "(COMMAND \"CIRCLE\" \"",
                                           "'((0 \"CIRCLE\") (40 "};
  testing_support::Random random(5);
  for (std::size_t done = 0; done < count;) {
    std::string text = testing_support::makeRightProgram(random);
    Requests edited;
    open(edited, text);
    for (std::size_t n = 0; n < kEditsInRound && done < count; ++n, ++done) {
      std::size_t begin = placeIn(text, random);
      std::size_t end = random.chance(1, 2) ? begin : placeIn(text, random);
      if (begin > end) std::swap(begin, end);
      // Most edits are small.
      if (end - begin > 40 && random.chance(9, 10)) end = begin;
      const std::string& piece = text.size() > kTextMax ? pieces.back() : random.pick(pieces);
      Json change = {
          {"text", piece},
          {"range", {{"start", positionAt(text, begin)}, {"end", positionAt(text, end)}}}};
      text.replace(begin, end - begin, piece);
      if (random.chance(1, 50)) change = {{"text", text}};
      const Answer answer = edited.handle(
          "textDocument/didChange",
          {{"textDocument", {{"uri", kUri}, {"version", n}}}, {"contentChanges", {change}}});
      ASSERT_EQ(answer.error, 0);
      if (!random.chance(1, 10)) continue;
      Requests fresh;
      open(fresh, text);
      const std::size_t from = placeIn(text, random);
      const Json position = positionAt(text, from);
      const Json range = {{"start", position}, {"end", positionAt(text, placeIn(text, random))}};
      ASSERT_EQ(answers(edited, position, range), answers(fresh, position, range))
          << "after edit " << done << " of\n"
          << text;
    }
  }
}

}  // namespace
}  // namespace lisp_worker::console::language
