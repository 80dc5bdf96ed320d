#include "console/entity.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "lisp_worker/client/answer_text.h"
#include "testing/formats/document_examples.h"

namespace lisp_worker::console {
namespace {

client::Datum read(std::string_view text) {
  std::string error;
  const auto datum = client::readDatum(text, &error);
  EXPECT_TRUE(datum.has_value()) << text << ": " << error;
  return datum.value_or(client::nil());
}

client::DatumList groupsOf(std::string_view text) {
  const client::Datum datum = read(text);
  const client::DatumList* const groups = client::asList(datum);
  return groups == nullptr ? client::DatumList() : *groups;
}

TEST(FindGroup, FindsTheFirstWithTheCode) {
  const client::DatumList groups = groupsOf(R"((5 (8) (8 "A" 1) (8.5 "C") (8 "B") (8 "D")))");
  ASSERT_NE(findGroup(groups, 8), nullptr);
  EXPECT_EQ(*findGroup(groups, 8), client::string("B"));
  EXPECT_EQ(findGroup(groups, 9), nullptr);
  EXPECT_EQ(findStringGroup(groups, 8), "B");
  EXPECT_EQ(findStringGroup(groups, 9), "");
  EXPECT_EQ(findStringGroup(groupsOf("((8 5))"), 8), "");
}

TEST(IsPoint, TakesTwoOrThreeFiniteNumbers) {
  EXPECT_TRUE(isPoint(read("(1 2)")));
  EXPECT_TRUE(isPoint(read("(1 2 -3.5)")));
  for (const char* const text : {"()", "(1)", "(1 2 3 4)", "(1 X)", "nil", "5", "(\"1\" 2)"}) {
    EXPECT_FALSE(isPoint(read(text))) << text;
  }
  EXPECT_FALSE(isPoint(client::list({client::number(1), client::number(1e308 * 10)})));
}

TEST(WhyNoEntity, TakesEveryKnownType) {
  for (const char* const text :
       {R"(((0 "POINT") (10 (1 2))))", R"(((0 "LINE") (8 "A") (10 (0 0 0)) (11 (1 0 0))))",
        R"(((0 "CIRCLE") (10 (0 0 0)) (40 0.5)))",
        R"(((0 "ARC") (10 (0 0)) (40 1) (50 0) (51 -3.14)))",
        R"(((0 "TEXT") (10 (0 0)) (40 2.5) (1 "") (72 2) (50 1)))",
        R"(((0 "POLYLINE") (70 1) (10 (0 0)) (10 (1 0)) (10 (1 1 1))))",
        R"(((0 "POINT") (10 (1 2)) (999 anything) (999 (7)) (62 256)))"}) {
    EXPECT_EQ(whyNoEntity(read(text)), "") << text;
  }
}

TEST(WhyNoEntity, SaysWhatIsWrong) {
  struct Row {
    const char* text;
    const char* reason;
  };
  const Row rows[] = {
      {"nil", "an entity is a list of groups"},
      {"()", "no type: (0 TYPE)"},
      {R"((0 "POINT"))", "a group is a list of a code and a value"},
      {R"(((0 "POINT") (10 1 2)))",
       "a group is a list of a code and a value: (10 (1 2)), not (10 1 2); LIST makes it, not "
       "CONS"},
      {R"(((0 . "POINT") (10 (1 2))))",
       R"(a group is a list of a code and a value: (0 "POINT"), not (0 . "POINT"))"},
      {R"(((40 . 2.5) (0 "CIRCLE")))",
       "a group is a list of a code and a value: (40 2.5), not (40 . 2.5)"},
      {R"(((0 "POINT") (10 1 2 3 4)))", "a group is a list of a code and a value"},
      {R"(((X 1 2)))", "a group is a list of a code and a value"},
      {R"(((0 "POINT") ("10" (1 2))))", "a group is a list of a code and a value"},
      {R"(((0 5) (10 (1 2))))", "no type: (0 TYPE)"},
      {R"(((0 "SPHERE") (10 (1 2))))", "unknown type: SPHERE"},
      {R"(((0 "point") (10 (1 2))))", "unknown type: point; it is written POINT"},
      {R"(((0 "LINE") (10 (1 2))))", "LINE needs a group 11, to"},
      {R"(((0 "ARC") (10 (0 0)) (40 1) (50 0)))", "ARC needs a group 51, to angle"},
      {R"(((0 "POINT") (10 5)))", "group 10 needs a point"},
      {R"(((0 "LINE") (10 (1 2)) (11 (1 X))))", "group 11 needs a point"},
      {R"(((0 "CIRCLE") (10 (1 2)) (40 0)))", "group 40 needs a number above 0"},
      {R"(((0 "CIRCLE") (10 (1 2)) (40 nil)))", "group 40 needs a number above 0"},
      {R"(((0 "POINT") (8 "") (10 (1 2))))", "group 8 needs a string that is not empty"},
      {R"(((0 "POINT") (8 WALLS) (10 (1 2))))", "group 8 needs a string that is not empty"},
      {R"(((0 "ARC") (10 (0 0)) (40 1) (50 "0") (51 1)))", "group 50 needs a number"},
      {R"(((0 "TEXT") (10 (0 0)) (40 1) (1 2)))", "group 1 needs a string"},
      {R"(((0 "TEXT") (10 (0 0)) (40 1) (1 "") (72 3)))", "group 72 needs 0, 1 or 2"},
      {R"(((0 "POINT") (10 (0 0)) (62 0)))", "group 62 needs a colour from 1 to 256"},
      {R"(((0 "POINT") (10 (0 0)) (62 1.5)))", "group 62 needs a colour from 1 to 256"},
      {R"(((0 "POLYLINE") (10 (0 0))))", "POLYLINE needs two groups 10, through"},
      {R"(((0 "POLYLINE") (10 (0 0)) (10 5)))", "group 10 needs a point"},
      {R"(((0 "POLYLINE") (10 (0 0)) (10 (1 1)) (70 2)))", "group 70 needs 0 or 1"},
  };
  for (const Row& row : rows) EXPECT_EQ(whyNoEntity(read(row.text)), row.reason) << row.text;
}

TEST(WhyNoEntity, RefusesWhatNoAnswerCouldHandBack) {
  client::DatumList groups = groupsOf(R"(((0 "POINT") (10 (1 2))))");
  groups.push_back(makeGroup(999, client::number(1e308 * 10)));
  EXPECT_EQ(whyNoEntity(client::list(groups)), "no text stands for an infinity or a NaN");
}

TEST(DescribeEntity, IsALineForAPerson) {
  struct Row {
    const char* groups;
    const char* line;
  };
  const Row rows[] = {
      {R"(((0 "POINT") (8 "0") (10 (1 2 3))))", "E1 POINT on layer 0: at (1 2 3)"},
      {R"(((11 (5 5)) (0 "LINE") (8 "A") (10 (0 0))))", "E1 LINE on layer A: from (0 0), to (5 5)"},
      {R"(((0 "CIRCLE") (8 "A") (10 (59.99999999999 -1e-9 0)) (40 0.3333333333333333)))",
       "E1 CIRCLE on layer A: centre (60 0 0), radius 0.333333"},
      {R"(((0 "ARC") (8 "A") (10 (0 0)) (40 1) (50 0) (51 3.141592653589793)))",
       "E1 ARC on layer A: centre (0 0), radius 1, from angle 0, to angle 3.141593"},
      {R"(((0 "TEXT") (8 "A") (10 (1e300 0)) (40 2) (1 "3/4\" pipe")))",
       R"(E1 TEXT on layer A: at (1e+300 0), height 2, text "3/4\" pipe")"},
      {R"(((0 "POLYLINE") (8 "A") (10 (0 0)) (42 0.5) (10 (5 0)) (42 0) (10 (5 5))))",
       "E1 POLYLINE on layer A: through (0 0) bulge 0.5 (5 0) (5 5)"},
      {R"(((0 "HATCH") (8 "A") (2 "NET") (93 2) (10 (0 0)) (42 1) (10 (5 0)) (93 2) (10 (1 0))
          (10 (2 0))))",
       "E1 HATCH on layer A: NET, inside (0 0) bulge 1 (5 0) and (1 0) (2 0)"},
  };
  for (const Row& row : rows) EXPECT_EQ(describeEntity({"E1", groupsOf(row.groups)}), row.line);
}

// Groups that cannot be drawn as they say are refused, and so are angles in degrees.
TEST(WhyNoEntity, RefusesWhatWouldBeDrawnWrongly) {
  struct Row {
    const char* groups;
    const char* reason;
  };
  const Row rows[] = {
      {R"(((0 "POLYLINE") (10 (0 0)) (42 1) (10 (5 0)) (40 0) (43 0)))", ""},
      {R"(((0 "POLYLINE") (42 1) (10 (0 0)) (10 (5 0))))",
       "group 42 belongs behind the group 10 of its vertex, once"},
      {R"(((0 "POLYLINE") (10 (0 0)) (42 1) (42 1) (10 (5 0))))",
       "group 42 belongs behind the group 10 of its vertex, once"},
      {R"(((0 "POLYLINE") (10 (0 0)) (42 "1") (10 (5 0))))", "group 42 needs a number"},
      {R"(((0 "POLYLINE") (10 (0 0)) (10 (5 0)) (43 0.5)))",
       "group 43: widths are not drawn: give a line weight, group 370"},
      {R"(((0 "POINT") (10 (0 0)) (6 "dashed") (48 0.5) (370 211)))", ""},
      {R"(((0 "POINT") (10 (0 0)) (6 "CenterX2")))", ""},
      {R"(((0 "POINT") (10 (0 0)) (6 "ByLayer") (39 0) (210 (0 0 1)) (370 -1)))", ""},
      {R"(((0 "POINT") (10 (0 0)) (6 "FENCE")))",
       "group 6 needs a line type: BYLAYER CONTINUOUS DASHED HIDDEN CENTER CENTRE DASHDOT DIVIDE "
       "PHANTOM DOT"},
      {R"(((0 "POINT") (10 (0 0)) (48 0)))", "group 48 needs a scale from 0.01 to 100"},
      {R"(((0 "POINT") (10 (0 0)) (370 212)))",
       "group 370 needs hundredths of a millimetre, 0 to 211, or -1 for the layer's weight"},
      {R"(((0 "POINT") (10 (0 0)) (370 0.25)))",
       "group 370 needs hundredths of a millimetre, 0 to 211, or -1 for the layer's weight"},
      {R"(((0 "HATCH") (2 "NET") (10 (0 0)) (42 1) (10 (5 0)) (42 1) (41 0.5) (52 3)))", ""},
      {R"(((0 "HATCH") (2 "SOLID") (93 2) (10 (0 0)) (10 (1 1)) (93 3) (10 (0 0)) (10 (1 0))
          (10 (1 1))))",
       ""},
      {R"(((0 "HATCH") (2 "SOLID") (93 2) (10 (0 0)) (10 (1 1)) (93 3) (10 (0 0)) (10 (1 0))))",
       "group 93 counts the vertices of its outline, which has 2"},
      {R"(((0 "HATCH") (2 "SOLID") (93 2) (93 2) (10 (0 0)) (10 (1 1))))",
       "an outline needs two groups 10"},
      {R"(((0 "HATCH") (2 "SOLID") (93 1) (10 (0 0)) (10 (1 1))))",
       "group 93 needs the number of vertices that follow"},
      {R"(((0 "HATCH") (2 "SOLID") (10 (0 0))))", "an outline needs two groups 10"},
      {R"(((0 "HATCH") (2 "DOTS") (10 (0 0)) (10 (5 0))))", "group 2 needs SOLID, LINE or NET"},
      {R"(((0 "HATCH") (2 "NET") (10 (0 0)) (10 (5 0)) (41 0.4)))",
       "group 41 needs a distance from 0.5 to 1000 millimetres of paper"},
      {R"(((0 "HATCH") (2 "NET") (10 (0 0)) (10 (5 0)) (52 45)))",
       "group 52 is in radians, and 45 is more than two turns; 45 degrees are 0.785398 radians"},
      {R"(((0 "POINT") (10 (0 0)) (210 (1 0 0))))",
       "group 210: only entities in the x y plane are drawn"},
      {R"(((0 "TEXT") (10 (0 0)) (40 1) (1 "x") (51 0.2)))",
       "group 51: slanted letters are not drawn"},
      {R"(((0 "ARC") (10 (0 0)) (40 1) (50 0) (51 90)))",
       "group 51 is in radians, and 90 is more than two turns; 90 degrees are 1.570796 radians"},
      {R"(((0 "ARC") (10 (0 0)) (40 1) (50 -7) (51 12.5)))", ""},
      {R"(((0 "TEXT") (10 (0 0)) (40 1) (1 "x") (50 45)))",
       "group 50 is in radians, and 45 is more than two turns; 45 degrees are 0.785398 radians"},
      {R"(((0 "POINT") (10 (0 0)) (999 "kept") (42 5)))", ""},
  };
  for (const Row& row : rows) {
    EXPECT_EQ(whyNoEntity(*client::readDatum(row.groups, nullptr)), row.reason) << row.groups;
  }
}

TEST(EntityReference, StandsInTheDocuments) {
  EXPECT_THAT(testing_support::readSource("docs/ENTITIES.md"),
              testing::HasSubstr("```text\n" + entityReference() + "```\n"));
  EXPECT_THAT(typeReference("ARC"), testing::HasSubstr("  50   where it begins, in radians"));
  EXPECT_EQ(typeReference("SPHERE"), "");
}

}  // namespace
}  // namespace lisp_worker::console
