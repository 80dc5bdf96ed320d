#include "console/drawing.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "console/selection.h"
#include "console/snap.h"
#include "lisp_worker/client/answer_text.h"

namespace lisp_worker::console {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

client::Datum read(std::string_view text) {
  std::string error;
  const auto datum = client::readDatum(text, &error);
  EXPECT_TRUE(datum.has_value()) << text << ": " << error;
  return datum.value_or(client::nil());
}

class DrawingTest : public testing::Test {
 protected:
  std::string add(std::string_view groups) {
    const auto handle = drawing.add(read(groups), refusal);
    return handle.value_or("refused: " + refusal);
  }

  bool modify(std::string_view groups) { return drawing.modify(read(groups), refusal); }

  [[nodiscard]] std::string dataOf(std::string_view handle) const {
    const Entity* const entity = drawing.find(handle);
    return entity == nullptr ? "none" : client::printDatum(entityData(*entity));
  }

  Drawing drawing;
  std::string refusal;
};

TEST_F(DrawingTest, GivesEveryEntityAHandleOfItsOwn) {
  EXPECT_EQ(add(R"(((0 "POINT") (10 (1 2))))"), "E1");
  EXPECT_EQ(add(R"(((0 "POINT") (10 (3 4))))"), "E2");
  EXPECT_TRUE(drawing.erase("E2"));
  EXPECT_EQ(add(R"(((0 "POINT") (10 (5 6))))"), "E3");
  EXPECT_EQ(drawing.find("E2"), nullptr);
  EXPECT_FALSE(drawing.erase("E2"));
  EXPECT_EQ(drawing.entities().size(), 2u);
}

TEST_F(DrawingTest, KeepsTheGroupsAndReplacesAHandleOfTheirOwn) {
  add(R"(((-1 "E77") (0 "POINT") (8 "A") (10 (1 2)) (62 7)))");
  EXPECT_EQ(dataOf("E1"), R"(((-1 "E1") (0 "POINT") (8 "A") (10 (1 2)) (62 7)))");
}

TEST_F(DrawingTest, PutsAnEntityWithoutALayerOnTheCurrentOne) {
  add(R"(((0 "POINT") (10 (1 2))))");
  drawing.setCurrentLayer("WALLS");
  add(R"(((0 "POINT") (10 (1 2))))");
  EXPECT_EQ(dataOf("E1"), R"(((-1 "E1") (0 "POINT") (10 (1 2)) (8 "0")))");
  EXPECT_EQ(dataOf("E2"), R"(((-1 "E2") (0 "POINT") (10 (1 2)) (8 "WALLS")))");
}

TEST_F(DrawingTest, RefusesWhatIsNoEntity) {
  EXPECT_EQ(add("nil"), "refused: an entity is a list of groups");
  EXPECT_THAT(drawing.entities(), IsEmpty());
  EXPECT_EQ(add(R"(((0 "POINT") (10 (1 2))))"), "E1");
}

TEST_F(DrawingTest, ModifiesTheEntityThatTheHandleNames) {
  add(R"(((0 "POINT") (8 "A") (10 (1 2))))");
  add(R"(((0 "POINT") (8 "A") (10 (3 4))))");
  EXPECT_TRUE(modify(R"(((0 "POINT") (-1 "E2") (8 "B") (10 (5 6))))")) << refusal;
  EXPECT_EQ(dataOf("E1"), R"(((-1 "E1") (0 "POINT") (8 "A") (10 (1 2))))");
  EXPECT_EQ(dataOf("E2"), R"(((-1 "E2") (0 "POINT") (8 "B") (10 (5 6))))");
}

TEST_F(DrawingTest, ModifiesOnlyWhatIsNamed) {
  add(R"(((0 "POLYLINE") (10 (1 2)) (10 (3 4)) (70 1) (999 "kept")))");
  EXPECT_TRUE(modify(R"(((-1 "E1") (8 "B")))")) << refusal;
  EXPECT_EQ(dataOf("E1"),
            R"(((-1 "E1") (0 "POLYLINE") (10 (1 2)) (10 (3 4)) (70 1) (999 "kept") (8 "B")))");
  EXPECT_TRUE(modify(R"(((-1 "E1") (62 3) (10 (5 5)) (10 (6 6)) (10 (7 7))))")) << refusal;
  EXPECT_EQ(dataOf("E1"), R"(((-1 "E1") (0 "POLYLINE") (10 (5 5)) (10 (6 6)) (10 (7 7)) (70 1) )"
                          R"((999 "kept") (8 "B") (62 3)))");
  EXPECT_TRUE(modify(R"(((-1 "E1")))")) << refusal;
  EXPECT_NE(drawing.findLayer("B"), nullptr);
}

// A bulge belongs to the vertex in front of it, wherever the change puts them.
TEST_F(DrawingTest, ModifiesVerticesAsOne) {
  add(R"(((0 "POLYLINE") (10 (0 0)) (42 1) (10 (5 0)) (8 "A") (70 0)))");
  EXPECT_TRUE(
      drawing.modify(read(R"(((-1 "E1") (10 (1 1)) (42 2) (10 (2 2)) (42 3) (70 1)))"), refusal))
      << refusal;
  EXPECT_EQ(dataOf("E1"), R"(((-1 "E1") (0 "POLYLINE") (10 (1 1)) (42 2) (10 (2 2)) (42 3) )"
                          R"((8 "A") (70 1)))");
  EXPECT_FALSE(drawing.modify(read(R"(((-1 "E1") (42 0)))"), refusal));
  EXPECT_EQ(refusal, "bulges and outlines change with all vertices: give the groups 10 too");
}

TEST_F(DrawingTest, KnowsTheLinesOfAnEntity) {
  add(R"(((0 "POINT") (8 "A") (10 (0 0)) (6 "dashed") (48 2) (370 50)))");
  add(R"(((0 "POINT") (8 "A") (10 (0 0)) (6 "BYLAYER") (370 -1)))");
  drawing.setLayer({"A", 1, true, "DOT", 100});
  EXPECT_EQ(drawing.dashesFor(*drawing.find("E1")), (std::vector<double>{10, 4}));
  EXPECT_EQ(drawing.lineWidthOf(*drawing.find("E1")), 0.5);
  EXPECT_EQ(drawing.dashesFor(*drawing.find("E2")), (std::vector<double>{0, 1.5}));
  EXPECT_EQ(drawing.lineWidthOf(*drawing.find("E2")), 1);
}

TEST_F(DrawingTest, RefusesToModifyWhatItCannot) {
  add(R"(((0 "POINT") (8 "A") (10 (1 2))))");
  struct Row {
    const char* groups;
    const char* refusal;
  };
  const Row rows[] = {
      {R"(((0 "POINT") (8 "A") (10 (5 6))))", "no handle: (-1 HANDLE)"},
      {R"(((-1 "E2") (0 "POINT") (8 "A") (10 (5 6))))", "no entity E2"},
      {R"(((-1 "E1") (0 "CIRCLE") (8 "A") (10 (5 6)) (40 1)))",
       "the type of an entity cannot change"},
      {R"(((-1 "E1") (10 "5,6")))", "group 10 needs a point"},
      {R"(((-1 "E1") 5))", "a group is a list of a code and a value"},
      {"5", "an entity is a list of groups"},
  };
  for (const Row& row : rows) {
    EXPECT_FALSE(modify(row.groups)) << row.groups;
    EXPECT_EQ(refusal, row.refusal);
  }
  EXPECT_EQ(dataOf("E1"), R"(((-1 "E1") (0 "POINT") (8 "A") (10 (1 2))))");
}

TEST_F(DrawingTest, TellsWhatHasChanged) {
  for (int n = 0; n < 4; ++n) add(R"(((0 "POINT") (8 "A") (10 (1 2))))");
  const Drawing before = drawing;
  EXPECT_THAT(compareDrawings(before, drawing), IsEmpty());
  const Entity erased = *drawing.find("E2");
  drawing.erase("E2");
  modify(R"(((-1 "E3") (0 "POINT") (8 "B") (10 (1 2))))");
  modify(R"(((-1 "E4") (0 "POINT") (8 "A") (10 (1 2))))");  // As it was.
  add(R"(((0 "POINT") (8 "A") (10 (1 2))))");
  add(R"(((0 "POINT") (8 "A") (10 (1 2))))");
  drawing.erase("E6");  // Added and erased in between.
  EXPECT_THAT(compareDrawings(before, drawing),
              ElementsAre(EntityChange{EntityChange::Kind::Changed, *drawing.find("E3")},
                          EntityChange{EntityChange::Kind::Added, *drawing.find("E5")},
                          EntityChange{EntityChange::Kind::Erased, erased}));
}

class SelectionTest : public DrawingTest {
 protected:
  SelectionTest() {
    add(R"(((0 "LINE") (8 "A") (10 (0 0)) (11 (1 0))))");
    add(R"(((0 "LINE") (8 "B") (10 (0 0)) (11 (1 0))))");
    add(R"(((0 "CIRCLE") (8 "B") (10 (0 0)) (40 1)))");
  }

  std::vector<std::string> select(std::string_view arguments) {
    refusal.clear();
    const client::Datum list = read(arguments);
    return selectEntities(drawing, *client::asList(list), refusal)
        .value_or(std::vector<std::string>{"refused"});
  }
};

TEST_F(SelectionTest, TakesAllWithoutAFilter) {
  EXPECT_THAT(select("()"), ElementsAre("E1", "E2", "E3"));
  EXPECT_THAT(select(R"(("X"))"), ElementsAre("E1", "E2", "E3"));
  EXPECT_THAT(select(R"(("A"))"), ElementsAre("E1", "E2", "E3"));
  EXPECT_THAT(select("(())"), ElementsAre("E1", "E2", "E3"));
}

TEST_F(SelectionTest, TakesWhatHasEveryGroupOfTheFilter) {
  EXPECT_THAT(select(R"((((0 "LINE"))))"), ElementsAre("E1", "E2"));
  EXPECT_THAT(select(R"(("X" ((8 "B"))))"), ElementsAre("E2", "E3"));
  EXPECT_THAT(select(R"(("X" ((8 "B") (0 "LINE"))))"), ElementsAre("E2"));
  EXPECT_THAT(select(R"(("X" ((40 1))))"), ElementsAre("E3"));
  EXPECT_THAT(select(R"(("X" ((8 "C"))))"), IsEmpty());
}

TEST_F(SelectionTest, TakesPatternsForNames) {
  EXPECT_THAT(select(R"((((0 "C*"))))"), ElementsAre("E3"));
  EXPECT_THAT(select(R"((((0 "ARC,LINE"))))"), ElementsAre("E1", "E2"));
  EXPECT_THAT(select(R"((((0 "arc,l*"))))"), ElementsAre("E1", "E2"));
  EXPECT_THAT(select(R"((((8 "b"))))"), IsEmpty());
  EXPECT_THAT(select(R"((((8 "?") (0 "*I*"))))"), ElementsAre("E1", "E2", "E3"));
  EXPECT_THAT(select(R"((((8 "??"))))"), IsEmpty());
}

TEST_F(SelectionTest, TakesWhatLiesInOrTouchesAWindow) {
  EXPECT_THAT(select(R"(("W" (0 0) (1 1)))"), ElementsAre("E1", "E2"));
  EXPECT_THAT(select(R"(("C" (2 2) (0.5 0.5)))"), ElementsAre("E3"));
  EXPECT_THAT(select(R"(("C" (1 -1) (0.9 1) ((0 "LINE"))))"), ElementsAre("E1", "E2"));
  EXPECT_THAT(select(R"(("W" (5 5) (6 6)))"), IsEmpty());
}

TEST_F(SelectionTest, TakesTheLastAndThePrevious) {
  EXPECT_THAT(select(R"(("L"))"), ElementsAre("E3"));
  EXPECT_THAT(select(R"(("P"))"), IsEmpty());
  drawing.setPreviousSelection({"E1", "E9"});
  EXPECT_THAT(select(R"(("P"))"), ElementsAre("E1"));
}

TEST_F(SelectionTest, LeavesHiddenLayersOutUnlessAskedForAll) {
  drawing.setLayer({"B", 1, false});
  EXPECT_THAT(select("()"), ElementsAre("E1"));
  EXPECT_THAT(select(R"(("_x"))"), ElementsAre("E1", "E2", "E3"));
  EXPECT_THAT(select(R"(("X"))"), ElementsAre("E1", "E2", "E3"));
  EXPECT_THAT(select(R"(("C" (-1 -1) (2 2)))"), ElementsAre("E1"));
}

TEST_F(SelectionTest, SaysWhyItCannotSelect) {
  struct Row {
    const char* arguments;
    const char* refusal;
  };
  const Row rows[] = {
      {R"(("Q" (0 0) (1 1)))", "no way of selecting: Q; there are X, A, W, C, L and P"},
      {R"(("W" (0 0)))", "a window needs two corners"},
      {R"(("X" 5))", "a filter is a list of groups"},
      {R"(("X" ("LINE")))", "a group is a list of a code and a value"},
      {R"((((0 "LINE" 1))))", "a group is a list of a code and a value"},
      {R"((((0 . "LINE"))))",
       "a group is a list of a code and a value: (0 \"LINE\"), not (0 . \"LINE\")"},
      {R"(("X" () ()))", "too many arguments"},
  };
  for (const Row& row : rows) {
    EXPECT_THAT(select(row.arguments), ElementsAre("refused")) << row.arguments;
    EXPECT_EQ(refusal, row.refusal);
  }
}

class SnapTest : public DrawingTest {
 protected:
  SnapTest() {
    add(R"(((0 "LINE") (10 (0 0 5)) (11 (40 0))))");
    add(R"(((0 "CIRCLE") (10 (20 8 1)) (40 3)))");
    add(R"(((0 "POINT") (10 (100 0))))");
    add(R"(((0 "TEXT") (10 (0 0)) (40 1) (1 "")))");
  }

  std::string snap(double x, double y, std::string_view modes) {
    const auto found = snapPoint(drawing, {x, y, 0}, modes);
    return found ? client::printDatum(client::point(found->x, found->y, found->z)) : "none";
  }
};

TEST_F(SnapTest, FindsTheNearestPointOfTheWantedKinds) {
  EXPECT_EQ(snap(1, 1, "end"), "(0 0 5)");
  EXPECT_EQ(snap(39, 1, "END"), "(40 0 0)");
  EXPECT_EQ(snap(21, 1, "mid"), "(20 0 2.5)");
  EXPECT_EQ(snap(21, 3, "mid,cen"), "(20 0 2.5)");
  EXPECT_EQ(snap(21, 5, "mid, cen"), "(20 8 1)");
  EXPECT_EQ(snap(101, 0, "nod"), "(100 0 0)");
}

TEST_F(SnapTest, TakesTheEarlierEntityOfTwoEquallyNear) {
  EXPECT_EQ(snap(20, 4, "cen,mid"), "(20 0 2.5)");
}

TEST_F(SnapTest, LooksWithinItsApertureOnly) {
  EXPECT_EQ(snap(50, 0, "end"), "(40 0 0)");
  EXPECT_EQ(snap(50.001, 0, "end"), "none");
  EXPECT_EQ(snap(1, 1, "nod"), "none");
  EXPECT_EQ(snap(1, 1, "quadrant"), "none");
  EXPECT_EQ(snap(1, 1, ""), "none");
}

}  // namespace
}  // namespace lisp_worker::console
