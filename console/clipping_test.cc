#include "console/clipping.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <vector>

namespace lisp_worker::console {
namespace {

using client::Point;

const Box kBox = boxBetween({0, 0, 0}, {10, 10, 0});

TEST(Clipping, CutsSegmentsAtTheBox) {
  const auto part = clippedSegment({{-10, 5, 0}, {20, 5, 0}}, kBox);
  ASSERT_TRUE(part.has_value());
  EXPECT_EQ(part->from.x, 0);
  EXPECT_EQ(part->to.x, 10);
  EXPECT_EQ(part->to.y, 5);
  EXPECT_FALSE(clippedSegment({{-10, 10.001, 0}, {20, 10.001, 0}}, kBox).has_value());
  EXPECT_TRUE(clippedSegment({{-10, 10, 0}, {20, 10, 0}}, kBox).has_value());  // The edge.
  EXPECT_FALSE(clippedSegment({{-5, 5, 0}, {5, 20, 0}}, kBox).has_value());    // Past a corner.
  EXPECT_TRUE(clippedSegment({{5, 5, 0}, {5, 5, 0}}, kBox).has_value());       // A point.
  // A billion times as long as the box, and still through its middle.
  const auto far = clippedSegment({{-1e10 + 5, -1e10 + 5, 0}, {1e10 + 5, 1e10 + 5, 0}}, kBox);
  ASSERT_TRUE(far.has_value());
  EXPECT_NEAR(far->from.x, 0, 1e-5);
  EXPECT_NEAR(far->to.y, 10, 1e-5);
}

TEST(Clipping, CutsALineIntoItsPartsInTheBox) {
  const std::vector<Point> line = {{5, 5, 0}, {5, 15, 0}, {8, 15, 0}, {8, 5, 0}, {9, 5, 0}};
  const auto parts = clippedLine(line, kBox);
  ASSERT_EQ(parts.size(), 2u);
  EXPECT_EQ(parts[0].size(), 2u);
  EXPECT_EQ(parts[0].back().y, 10);
  ASSERT_EQ(parts[1].size(), 3u);
  EXPECT_EQ(parts[1].front().y, 10);
  EXPECT_EQ(parts[1].back().x, 9);
  EXPECT_TRUE(clippedLine({{5, 5, 0}}, kBox).empty());
}

double areaOf(const std::vector<Point>& outline) {
  double twice = 0;
  for (std::size_t n = 0; n < outline.size(); ++n) {
    const Point& a = outline[n];
    const Point& b = outline[(n + 1) % outline.size()];
    twice += a.x * b.y - a.y * b.x;
  }
  return std::fabs(twice) / 2;
}

TEST(Clipping, CutsAreas) {
  EXPECT_DOUBLE_EQ(areaOf(clippedArea({{-1, -1, 0}, {5, -1, 0}, {5, 5, 0}, {-1, 5, 0}}, kBox)), 25);
  EXPECT_DOUBLE_EQ(areaOf(clippedArea({{-9, -9, 0}, {19, -9, 0}, {19, 19, 0}, {-9, 19, 0}}, kBox)),
                   100);
  EXPECT_DOUBLE_EQ(areaOf(clippedArea({{2, 2, 0}, {3, 2, 0}, {3, 3, 0}}, kBox)), 0.5);
  EXPECT_TRUE(clippedArea({{-2, 2, 0}, {-3, 2, 0}, {-3, 3, 0}}, kBox).empty());
  EXPECT_NEAR(areaOf(clippedArea({{-1e9, -1e9, 0}, {1e9, -1e9, 0}, {1e9, 1e9, 0}}, kBox)), 50,
              1e-5);
}

// The greatest distance of points and of middles between them from a circle.
double deviation(const std::vector<Point>& points, const Point& centre, double radius,
                 const Box& box) {
  double most = 0;
  for (std::size_t n = 1; n < points.size(); ++n) {
    const auto part = clippedSegment({points[n - 1], points[n]}, box);
    if (!part) continue;
    const Point middle = {(part->from.x + part->to.x) / 2, (part->from.y + part->to.y) / 2, 0};
    most = std::max(most, std::fabs(std::hypot(middle.x - centre.x, middle.y - centre.y) - radius));
  }
  return most;
}

TEST(Clipping, KeepsArcsRoundInsideOfTheBoxOnly) {
  for (const double radius : {1.0, 5.0, 1e3, 1e6, 1e9}) {
    // A circle that touches the middle of the box from the right.
    const VertexChain circle = {{{{5, 5, 0}, 1}, {{5 + 2 * radius, 5, 0}, 1}}, true};
    const std::vector<Point> points = flattened(circle, kBox, 0.001);
    EXPECT_LE(deviation(points, {5 + radius, 5, 0}, radius, kBox), 0.001 + radius * 1e-15);
    EXPECT_LE(points.size(), 500u) << radius;
    EXPECT_GE(points.size(), 5u) << radius;
    EXPECT_FALSE(clippedLine(points, kBox).empty());
  }
}

TEST(Clipping, FlattensArcsOfAnyBulge) {
  for (const double bulge : {0.1, -0.5, 1.0, -3.0, 50.0}) {
    const VertexChain arc = {{{{2, 5, 0}, bulge}, {{8, 5, 0}, 0}}, false};
    const std::vector<Point> points =
        flattened(arc, boxBetween({-1000, -1000, 0}, {1000, 1000, 0}), 0.001);
    const auto piece = arcBetween({2, 5, 0}, {8, 5, 0}, bulge);
    ASSERT_TRUE(piece.has_value());
    EXPECT_LE(deviation(points, piece->centre, piece->radius,
                        boxBetween({-1000, -1000, 0}, {1000, 1000, 0})),
              0.001)
        << bulge;
    EXPECT_EQ(points.back().x, 8);
    double length = 0;
    for (std::size_t n = 1; n < points.size(); ++n) {
      length += std::hypot(points[n].x - points[n - 1].x, points[n].y - points[n - 1].y);
    }
    EXPECT_NEAR(length, std::fabs(piece->sweep) * piece->radius, 0.01 * length) << bulge;
  }
}

TEST(Clipping, IsFiniteAtTheEndsOfNumbers) {
  const VertexChain huge = {{{{-1e308, 0, 0}, 1}, {{1e308, 1e308, 0}, 0}}, true};
  EXPECT_LE(flattened(huge, kBox, 0.01).size(), 10000u);
  const VertexChain steep = {{{{-1e9, 0, 0}, 1e300}, {{1e9, 0, 0}, 0}}, false};
  EXPECT_LE(flattened(steep, kBox, 0.01).size(), 10000u);
}

}  // namespace
}  // namespace lisp_worker::console
