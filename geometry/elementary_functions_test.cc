#include "geometry/elementary_functions.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>

namespace geometry {
namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kPi = 3.141592653589793;

// The number of steps from one double to another of the same sign; 0 when they are the same.
std::uint64_t places_between(double a, double b) {
  const auto a_bits = std::bit_cast<std::uint64_t>(a);
  const auto b_bits = std::bit_cast<std::uint64_t>(b);
  return a_bits > b_bits ? a_bits - b_bits : b_bits - a_bits;
}

struct AngleRow {
  double angle;
  double sine;  // The doubles next to the true values, worked out with 1000 digits.
  double cosine;
};

class Angle : public testing::TestWithParam<AngleRow> {};

TEST_P(Angle, HasASineAndACosineExactToTheLastPlace) {
  const AngleRow& row = GetParam();
  EXPECT_LE(places_between(sine(row.angle), row.sine), 1U) << sine(row.angle);
  EXPECT_LE(places_between(cosine(row.angle), row.cosine), 1U) << cosine(row.angle);
  EXPECT_LE(places_between(sine(-row.angle), -row.sine), 1U) << sine(-row.angle);
  EXPECT_LE(places_between(cosine(-row.angle), row.cosine), 1U) << cosine(-row.angle);
}

INSTANTIATE_TEST_SUITE_P(
    Rows, Angle,
    testing::Values(AngleRow{1.0, 0.8414709848078965, 0.5403023058681398},
                    AngleRow{0.5, 0.479425538604203, 0.8775825618903728},
                    AngleRow{3.141592653589793, 1.2246467991473532e-16, -1.0},
                    AngleRow{1.5707963267948966, 1.0, 6.123233995736766e-17},
                    AngleRow{6.283185307179586, -2.4492935982947064e-16, 1.0},
                    AngleRow{0.75, 0.6816387600233341, 0.7316888688738209},
                    AngleRow{100.0, -0.5063656411097588, 0.8623188722876839},
                    AngleRow{753.982244910108, 8.048557588234084e-06, 0.9999999999676104},
                    AngleRow{1e9, 0.5458434494486996, 0.8378871813639024},
                    AngleRow{1e17, -0.4645301048353727, -0.8855573282976307},
                    AngleRow{9223372036854775808.0, 0.9999303766734422, 0.011800076512800236},
                    AngleRow{1e22, -0.8522008497671888, 0.523214785395139},
                    AngleRow{8.740831619677581e237, -0.999983843834327, -0.00568437070609835},
                    AngleRow{1e300, -0.8178819121159085, -0.5753861119575491},
                    AngleRow{1.7976931348623157e308, 0.004961954789184062, -0.9999876894265599},
                    AngleRow{5e-324, 5e-324, 1.0}));

TEST(Angle, ThatIsNoNumberHasNoSine) {
  EXPECT_TRUE(std::isnan(sine(kInfinity)));
  EXPECT_TRUE(std::isnan(cosine(-kInfinity)));
  EXPECT_TRUE(std::isnan(sine(std::numeric_limits<double>::quiet_NaN())));
}

TEST(Sine, KeepsTheSignOfZero) {
  EXPECT_FALSE(std::signbit(sine(0.0)));
  EXPECT_TRUE(std::signbit(sine(-0.0)));
  EXPECT_EQ(cosine(-0.0), 1.0);
}

TEST(Hypotenuse, IsExactWhereItCanBe) {
  EXPECT_EQ(hypotenuse(3, -4), 5);
  EXPECT_EQ(hypotenuse(3e-320, 4e-320), 5e-320);
  EXPECT_EQ(hypotenuse(0x3p1000, 0x4p1000), 0x5p1000);
  EXPECT_EQ(hypotenuse(0.0, -0.0), 0.0);
  EXPECT_EQ(hypotenuse(1e-300, 1e300), 1e300);
}

TEST(Hypotenuse, OverflowsOnlyByItself) {
  const double largest = std::numeric_limits<double>::max();
  EXPECT_EQ(hypotenuse(largest, 0), largest);
  EXPECT_EQ(hypotenuse(largest, largest), kInfinity);
}

TEST(Hypotenuse, OfAnInfinityIsInfinite) {
  EXPECT_EQ(hypotenuse(-kInfinity, 1), kInfinity);
  EXPECT_EQ(hypotenuse(std::numeric_limits<double>::quiet_NaN(), kInfinity), kInfinity);
  EXPECT_TRUE(std::isnan(hypotenuse(std::numeric_limits<double>::quiet_NaN(), 1)));
}

TEST(ArcTangent, KnowsEveryQuadrantAndAxis) {
  EXPECT_EQ(arc_tangent(0.0, 1), 0);
  EXPECT_EQ(arc_tangent(0.0, -1), kPi);
  EXPECT_EQ(arc_tangent(-0.0, -1), -kPi);
  EXPECT_EQ(arc_tangent(1, 0.0), kPi / 2);
  EXPECT_EQ(arc_tangent(-1, -0.0), -kPi / 2);
  EXPECT_EQ(arc_tangent(1, 1), kPi / 4);
  EXPECT_EQ(arc_tangent(-1, 1), -kPi / 4);
  EXPECT_EQ(arc_tangent(1, -1), 3 * kPi / 4);
  EXPECT_EQ(arc_tangent(-1, -1), -3 * kPi / 4);
  EXPECT_EQ(arc_tangent(kInfinity, -kInfinity), 3 * kPi / 4);
  EXPECT_TRUE(std::signbit(arc_tangent(-0.0, 0.0)));
}

}  // namespace
}  // namespace geometry
