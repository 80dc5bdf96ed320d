#include "console/language/completions.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "console/language/marked_document.h"

namespace lisp_worker::console::language {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

std::vector<std::string> complete(const std::string& marked) {
  MarkedDocument document(marked);
  std::vector<std::string> texts;
  for (const CompletionItem& item : completionsAt(document.unit(), document.offset()).items) {
    texts.push_back(item.text);
  }
  return texts;
}

TEST(Completions, OfferNamesOfTheLanguageAndOfTheProgram) {
  EXPECT_THAT(complete("(DEFUN POLISH (X) X)\n(SETQ POLE 1)\n(PO|"),
              ElementsAre("POLAR", "POLE", "POLISH"));
  EXPECT_THAT(complete("(DEFUN F (WIDTH / WALL) (LIST w|))"),
              ElementsAre("wall", "while", "width"));
}

TEST(Completions, KeepLocalsToTheirFunction) {
  EXPECT_THAT(complete("(DEFUN F (WIDTH) 1)\n(LIST wi|)"), IsEmpty());
}

TEST(Completions, TakeThePlaceOfTheWord) {
  MarkedDocument document("(SETQ A (pola|r))");
  const Completions found = completionsAt(document.unit(), document.offset());
  EXPECT_EQ(document.textOf(found.word), "pola");
}

TEST(Completions, SayWhatAFunctionTakes) {
  MarkedDocument document("; Makes one.\n(DEFUN PLATE (W) W)\n(PLAT|");
  const Completions found = completionsAt(document.unit(), document.offset());
  ASSERT_EQ(found.items.size(), 1U);
  EXPECT_EQ(found.items.front().detail, "(PLATE W)");
  EXPECT_EQ(found.items.front().documentation, "Makes one.\n");
  EXPECT_EQ(found.items.front().kind, CompletionKind::Function);
}

TEST(Completions, OfferCommandsAndTheirOptions) {
  EXPECT_THAT(complete("(COMMAND \"CI|"), ElementsAre("CIRCLE"));
  EXPECT_THAT(complete("(COMMAND \"CIRCLE\" \"|\")"), Contains("2P"));
  EXPECT_THAT(complete("(A)\n(COMMAND \"CI|\n(B)\n"), ElementsAre("CIRCLE"));
}

TEST(Completions, OfferTypesAndGroupsOfEntities) {
  EXPECT_THAT(complete("(ENTMAKE '((0 \"CI|"), ElementsAre("CIRCLE"));
  EXPECT_THAT(complete("(ENTMAKE '((0 \"CIRCLE\") (|"), Contains("40"));
}

TEST(Completions, AreNoneInTextsAndComments) {
  EXPECT_THAT(complete("(LIST \"PO|\")"), IsEmpty());
  EXPECT_THAT(complete("; PO|"), IsEmpty());
  EXPECT_THAT(complete(":lo|"), IsEmpty());
  EXPECT_THAT(complete("|"), Not(Contains(":load")));
}

TEST(Completions, AreCutOffWhereThereAreVeryMany) {
  std::string text;
  for (int n = 0; n < 1000; ++n) text += "(SETQ VAR" + std::to_string(n) + " 1)\n";
  MarkedDocument document(text + "(VAR|");
  const Completions found = completionsAt(document.unit(), document.offset());
  EXPECT_EQ(found.items.size(), Completions::kCountMax);
  EXPECT_TRUE(found.has_more);
}

}  // namespace
}  // namespace lisp_worker::console::language
