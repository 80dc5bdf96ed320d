#include "console/language/colours.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "console/language/inlay_hints.h"
#include "console/language/marked_document.h"

namespace lisp_worker::console::language {
namespace {

// Each token with the first letter of its colour's name, and its marks.
std::string colours(const std::string& text) {
  const ProgramParts parts(text);
  std::string found;
  for (const PlacedPart& part : parts.all()) {
    for (const ColouredToken& token : colouredTokens(*part.part)) {
      found += std::string(part.part->text().substr(token.span.begin, token.span.size())) + ":" +
               std::string(kColourNames.at(static_cast<std::size_t>(token.colour))) +
               (token.marks == 0 ? "" : std::to_string(token.marks)) + " ";
    }
  }
  return found;
}

TEST(Colours, FollowTheMeaningOfWords) {
  EXPECT_EQ(colours("; c\n(DEFUN F (A / B) (SETQ B (+ A 1)) (F B))"),
            "; c:comment DEFUN:keyword F:function1 A:parameter1 B:parameter1 SETQ:keyword "
            "B:parameter4 +:operator2 A:parameter 1:number F:function B:parameter ");
  EXPECT_EQ(colours("(PRINC \"x\" G '(LIST 0x1F))"),
            "PRINC:function2 \"x\":string G:variable 0x1F:number ");
}

std::string encoded(const std::string& text, Encoding encoding = Encoding::Utf16) {
  ProgramText whole{
      .uri = "", .document = TextDocument(text, encoding), .parts = ProgramParts(text)};
  return Colouring().encode(whole, {0, text.size()});
}

TEST(Colouring, CountsFromTheTokenBefore) {
  EXPECT_EQ(encoded("(CAR X)\n\n  5 6"), "0,1,3,0,2,0,4,1,2,0,2,2,1,5,0,0,2,1,5,0");
  EXPECT_EQ(encoded("\"\xC3\xA9\" 5"), "0,0,3,4,0,0,4,1,5,0");
  EXPECT_EQ(encoded("\"\xC3\xA9\" 5", Encoding::Utf8), "0,0,4,4,0,0,5,1,5,0");
}

TEST(Colouring, CutsTextsAtLineEnds) {
  EXPECT_EQ(encoded("(A \"b\r\n\nc\" 1)"), "0,1,1,0,0,0,2,2,4,0,2,0,2,4,0,0,3,1,5,0");
}

// The pieces that were kept fit at their new places.
TEST(Colouring, IsTheSameAfterAnEdit) {
  std::string text;
  for (int n = 0; n < 40; ++n) {
    text += "; " + std::string(100, 'x') + "\n(SETQ A" + std::to_string(n) + " \"" +
            std::string(80, 'y') + "\") (LIST 1) ";
  }
  ProgramText whole{.uri = "", .document = TextDocument(text), .parts = ProgramParts(text)};
  Colouring colouring;
  static_cast<void>(colouring.encode(whole, {0, text.size()}));
  for (const char* const piece : {"(NEW 1)", "\n\n", "\"", ""}) {
    whole.document.replace({{20, 3}, {20, 9}}, piece);
    const std::string& now = whole.document.text();
    whole.parts.update(now);
    EXPECT_EQ(colouring.encode(whole, {0, now.size()}), encoded(now)) << piece;
  }
}

std::string hints(const std::string& text) {
  MarkedDocument document(text);
  std::string result = document.document().text().text();
  const std::vector<InlayHint> found = inlayHintsIn(document.unit(), {0, result.size()});
  for (auto hint = found.rbegin(); hint != found.rend(); ++hint) {
    result.insert(hint->offset, "<" + hint->label + ">");
  }
  return result;
}

TEST(InlayHints, NameParametersAndShowDegrees) {
  EXPECT_EQ(hints("(POLAR P 1.5707963267948966 10)"),
            "(POLAR P <angle:>1.5707963267948966<= 90\xC2\xB0> <distance:>10)");
  EXPECT_EQ(hints("(DEFUN PLATE (W H) W) (PLATE (LIST 1) X)"),
            "(DEFUN PLATE (W H) W) (PLATE <w:>(LIST 1) X)");
  EXPECT_EQ(hints("'((0 \"ARC\") (50 3.141592653589793) (40 3))"),
            "'((0 \"ARC\") (50 3.141592653589793<= 180\xC2\xB0>) (40 3))");
}

TEST(InlayHints, AreNoneWhereTheySayNothing) {
  for (const char* const text : {"(= 1 2)", "(CAR '(1))", "(LIST 1 2)", "'(POLAR 1 2 3)",
                                 "(POLAR P A D)", "(COMMAND \"CIRCLE\" 1 2)", "(50 1e300)"}) {
    EXPECT_EQ(hints(text), text);
  }
}

}  // namespace
}  // namespace lisp_worker::console::language
