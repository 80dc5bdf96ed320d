#include "console/polyline.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string_view>

#include "console/shape.h"
#include "lisp_worker/client/answer_text.h"

namespace lisp_worker::console {
namespace {

Entity entityOf(std::string_view groups) {
  const auto datum = client::readDatum(groups, nullptr);
  EXPECT_EQ(whyNoEntity(*datum), "") << groups;
  return {"E1", *client::asList(*datum)};
}

void expectBox(const Box& box, double left, double bottom, double right, double top) {
  EXPECT_NEAR(box.left, left, 1e-9);
  EXPECT_NEAR(box.bottom, bottom, 1e-9);
  EXPECT_NEAR(box.right, right, 1e-9);
  EXPECT_NEAR(box.top, top, 1e-9);
}

TEST(ArcBetween, IsKnownByItsBulge) {
  const auto half = arcBetween({0, 0, 0}, {10, 0, 0}, 1);  // Against the clock, so below.
  ASSERT_TRUE(half.has_value());
  EXPECT_NEAR(half->centre.x, 5, 1e-12);
  EXPECT_NEAR(half->centre.y, 0, 1e-12);
  EXPECT_NEAR(half->radius, 5, 1e-12);
  EXPECT_NEAR(half->sweep, kPi, 1e-12);
  const auto quarter = arcBetween({1, 0, 0}, {0, 1, 0}, std::tan(kPi / 8));
  ASSERT_TRUE(quarter.has_value());
  EXPECT_NEAR(quarter->centre.x, 0, 1e-12);
  EXPECT_NEAR(quarter->centre.y, 0, 1e-12);
  EXPECT_NEAR(quarter->radius, 1, 1e-12);
  EXPECT_NEAR(quarter->start, 0, 1e-12);
  const auto back = arcBetween({0, 1, 0}, {1, 0, 0}, -std::tan(kPi / 8));
  ASSERT_TRUE(back.has_value());
  EXPECT_NEAR(back->centre.x, 0, 1e-12);
  EXPECT_NEAR(back->sweep, -kPi / 2, 1e-12);
}

TEST(ArcBetween, IsALineWhereThereIsNoArc) {
  EXPECT_FALSE(arcBetween({0, 0, 0}, {1, 0, 0}, 0).has_value());
  EXPECT_FALSE(arcBetween({0, 0, 0}, {1, 0, 0}, 1e-10).has_value());
  EXPECT_FALSE(arcBetween({1, 1, 0}, {1, 1, 0}, 1).has_value());
  EXPECT_FALSE(arcBetween({-1e308, 0, 0}, {1e308, 0, 0}, 1).has_value());
  EXPECT_FALSE(arcBetween({0, 0, 0}, {1, 0, 0}, 1e300).has_value());
}

TEST(Polyline, HasTheExtentsOfItsArcs) {
  expectBox(boundsOf(entityOf(R"(((0 "POLYLINE") (10 (0 0)) (42 1) (10 (10 0))))")), 0, -5, 10, 0);
  expectBox(boundsOf(entityOf(R"(((0 "POLYLINE") (10 (0 0)) (42 -1) (10 (10 0))))")), 0, 0, 10, 5);
  // A slot, whose last arc closes it.
  const Entity slot = entityOf(
      R"(((0 "POLYLINE") (70 1) (10 (0 0)) (10 (10 0)) (42 1) (10 (10 4)) (10 (0 4)) (42 1)))");
  expectBox(boundsOf(slot), -2, 0, 12, 4);
  EXPECT_TRUE(liesInside(slot, {-2.01, -0.01, 12.01, 4.01}));
  EXPECT_FALSE(liesInside(slot, {0, -0.01, 10, 4.01}));
  EXPECT_TRUE(touches(slot, {11.5, 1.5, 13, 2.5}));  // Its right arc alone.
  EXPECT_FALSE(touches(slot, {4, 1, 6, 3}));         // Inside, where nothing is drawn.
}

TEST(Polyline, TurnsItsArcsRoundInAMirror) {
  const Entity arc = entityOf(R"(((0 "POLYLINE") (10 (0 0)) (42 0.5) (10 (10 0))))");
  const client::DatumList mirrored = transformed(arc.groups, reflection({0, 0, 0}, {1, 0, 0}));
  EXPECT_EQ(findNumberGroup(mirrored, kBulgeGroup, 0), -0.5);
  const client::DatumList turned = transformed(arc.groups, rotation({0, 0, 0}, 1));
  EXPECT_EQ(findNumberGroup(turned, kBulgeGroup, 0), 0.5);
}

TEST(Hatch, HasItsOutlinesAndTurnsItsLines) {
  const Entity ring = entityOf(
      R"(((0 "HATCH") (2 "LINE") (93 2) (10 (-5 0)) (42 1) (10 (5 0)) (42 1)
          (93 2) (10 (20 0)) (42 1) (10 (22 0)) (42 1)))");
  ASSERT_EQ(chainsOf(ring).size(), 2u);
  EXPECT_TRUE(chainsOf(ring).back().is_closed);
  EXPECT_EQ(chainsOf(ring).back().vertices.size(), 2u);
  expectBox(boundsOf(ring), -5, -5, 22, 5);
  const auto angleAfter = [&ring](const Similarity& mapping) {
    return findNumberGroup(transformed(ring.groups, mapping), kPatternAngleGroup, kPatternAngle);
  };
  EXPECT_NEAR(angleAfter(rotation({0, 0, 0}, kPi / 2)), 3 * kPi / 4, 1e-12);
  EXPECT_NEAR(angleAfter(reflection({0, 0, 0}, {0, 1, 0})), 3 * kPi / 4, 1e-12);
  EXPECT_EQ(angleAfter(translation(3, 4)), kPatternAngle);
}

TEST(ClosedChainOf, TakesCirclesAndClosedPolylines) {
  EXPECT_TRUE(closedChainOf(entityOf(R"(((0 "CIRCLE") (10 (0 0)) (40 1)))")).has_value());
  EXPECT_FALSE(
      closedChainOf(entityOf(R"(((0 "POLYLINE") (10 (0 0)) (10 (1 0)) (10 (1 1))))")).has_value());
  const auto returning =
      closedChainOf(entityOf(R"(((0 "POLYLINE") (10 (0 0)) (10 (1 0)) (10 (1 1)) (10 (0 0))))"));
  ASSERT_TRUE(returning.has_value());
  EXPECT_EQ(returning->vertices.size(), 3u);
  EXPECT_FALSE(closedChainOf(entityOf(R"(((0 "POINT") (10 (0 0))))")).has_value());
}

}  // namespace
}  // namespace lisp_worker::console
