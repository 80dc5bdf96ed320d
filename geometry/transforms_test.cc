#include "geometry/transforms.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

namespace geometry {
namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
constexpr double kTwoToThe63 = 9223372036854775808.0;

// Numbers that no transform takes or gives.
const std::vector<double> kNonFinite = {kInfinity, -kInfinity, kNan, -kNan};

// Scales and determinants on the two sides of the bound.
const std::vector<double> kSingular = {0.0,    -0.0,   1e-18,     -1e-18,     9e-19,
                                       -9e-19, 5e-324, kInfinity, -kInfinity, kNan};
const std::vector<double> kRegular = {
    1.1e-18, -1.1e-18, std::nextafter(1e-18, 1.0), -std::nextafter(1e-18, 1.0), 1.0, -1.0};

// The determinant is exactly `det`.
PlanarMapping mapping_with_determinant(double det) { return {.a = det, .d = 1}; }

CoordContext identity_context() { return {}; }

void expect_point(const std::optional<Point>& actual, const Point& expected) {
  ASSERT_TRUE(actual.has_value());
  EXPECT_EQ(std::bit_cast<std::uint64_t>(actual->x), std::bit_cast<std::uint64_t>(expected.x))
      << actual->x << " is not " << expected.x;
  EXPECT_EQ(std::bit_cast<std::uint64_t>(actual->y), std::bit_cast<std::uint64_t>(expected.y))
      << actual->y << " is not " << expected.y;
  EXPECT_EQ(std::bit_cast<std::uint64_t>(actual->z), std::bit_cast<std::uint64_t>(expected.z))
      << actual->z << " is not " << expected.z;
}

// Five skew systems and a skew cell plane; the expectations below were computed elsewhere, in the
// written order of the formulas.
CoordContext skew_context() {
  CoordContext context;
  context.cell_key_seed = 0xfeedfacecafebeef;
  context.tag = 77;
  context.cell_size = 12.7;
  context.systems = {
      PlanarSystem{{-527.9, -793.7, -0.6237, -2.07, -2.601, -0.5905}, 2.762, 5.408},
      PlanarSystem{{530.3, -556.1, 0.2201, -1.34, -1.964, -2.363}, 0.7218, 7.695},
      PlanarSystem{{657.8, 613.3, 1.803, -1.839, -1.141, 0.7619}, 2.222, 6.384},
      PlanarSystem{{760.1, -826.6, 0.6351, 1.03, 0.03572, -1.933}, 1.473, -7.392},
      PlanarSystem{{869.2, 731.0, 0.2858, -1.199, 2.453, 0.4342}, 2.659, 6.265},
  };
  context.cell_plane = {16.74, -172.1, 0.5935, -0.4137, -2.032, -1.169};
  context.cell_z_scale = 1.75;
  context.cell_z_offset = -2.3;
  return context;
}

struct SkewRow {
  std::size_t source;
  std::size_t target;
  Point point;
  Point world;            // to_world(point, source)
  Point converted;        // convert(point, source, target)
  Point from_cell_plane;  // cell_plane_to_system(point, target)
  CellLocation cell;      // locate_cell(point, source)

  friend void PrintTo(const SkewRow& row, std::ostream* out) {
    *out << "(" << row.point.x << " " << row.point.y << " " << row.point.z << ") from "
         << row.source << " to " << row.target;
  }
};

class SkewTransforms : public testing::TestWithParam<SkewRow> {};

TEST_P(SkewTransforms, AgreeToTheLastBitWithTheFormulas) {
  const SkewRow& row = GetParam();
  const CoordContext context = skew_context();
  expect_point(to_world(context, row.point, row.source), row.world);
  expect_point(from_world(context, row.world, row.target), row.converted);
  expect_point(convert(context, row.point, row.source, row.target), row.converted);
  expect_point(cell_plane_to_system(context, row.point, row.target), row.from_cell_plane);

  const std::optional<CellLocation> cell = locate_cell(context, row.point, row.source);
  ASSERT_TRUE(cell.has_value());
  expect_point(Point{cell->u, cell->v, cell->w}, {row.cell.u, row.cell.v, row.cell.w});
  EXPECT_EQ(cell->i, row.cell.i);
  EXPECT_EQ(cell->j, row.cell.j);
  EXPECT_EQ(cell->key, row.cell.key);
  EXPECT_EQ(cell->tag, 77U);
}

INSTANTIATE_TEST_SUITE_P(
    Rows, SkewTransforms,
    testing::Values(SkewRow{0,
                            1,
                            {0.1, 0.2, 0.3},
                            {-0x1.083dc4da9003fp+9, -0x1.8d03367a0f90ap+9, 0x1.8f2474538ef35p+2},
                            {-0x1.42c3dc70010f0p+9, 0x1.d2c0922df34a8p+8, -0x1.029fe27dd6263p+1},
                            {-0x1.38325754fc865p+9, 0x1.7f61000f585e4p+7, -0x1.a3d6dbc0ba216p+3},
                            {0x1.9837e9d4bc9fap+8, 0x1.838c9f8fe6db1p+8, 0x1.3832169625ccep+2, 32,
                             30, 0x4bfbd851cc555f3d, 77}},
                    SkewRow{1,
                            2,
                            {-12.7, 333.3333333333333, 0.6666666666666666},
                            {-0x1.fca5d2b9bd6d0p+6, -0x1.4bafea27983c1p+10, 0x1.05a36e2eb1c43p+3},
                            {0x1.e50a6c6860186p+11, 0x1.aa39f59f1b478p+12, 0x1.9cf6d44405586p-1},
                            {0x1.9488c9ed7d719p+11, 0x1.884040880b2b4p+12, -0x1.b10aad1fe00c5p+1},
                            {0x1.62db4c85f56d2p+10, 0x1.e5663f6c4d384p+8, 0x1.7f212d77318fbp+2, 111,
                             38, 0xbaff34eb968dadb3, 77}},
                    SkewRow{2,
                            3,
                            {14285.714285714286, -11111.111111111111, 11.1},
                            {0x1.316970f70f710p+15, -0x1.0a975e45e45e5p+15, 0x1.f0c56d5cfaacdp+4},
                            {0x1.c277f794ba6fdp+15, 0x1.769b801dda697p+15, 0x1.a18b6b17abbe7p+4},
                            {0x1.6bbe4bea7fde8p+15, 0x1.452162d771816p+14, 0x1.0a4ee725b6a89p+4},
                            {0x1.23ea7c8e85342p+16, 0x1.44977b7e7b95cp+11, 0x1.30e5d817dfb33p+4,
                             5884, 204, 0xf6afca83b4e70c7f, 77}},
                    SkewRow{3,
                            4,
                            {0.1, 0.2, 0.3},
                            {0x1.7c15d7fd82774p+9, -0x1.9d7119ce075f8p+9, -0x1.bcce703afb7e9p+2},
                            {0x1.33d17381bb78dp+10, -0x1.77ce8c62841adp+7, -0x1.3e13add170c76p+2},
                            {0x1.2d1156448dd56p+9, -0x1.a1d0581abea31p+8, -0x1.83086046dc16bp+1},
                            {0x1.665ecb8f3d681p+10, 0x1.a6999f84d1d30p+5, -0x1.541f212d77319p+1,
                             112, 4, 0xd588b2bfb35bdb26, 77}},
                    SkewRow{4,
                            0,
                            {-12.7, 333.3333333333333, 0.6666666666666666},
                            {0x1.a4cf2b1e02912p+10, 0x1.bd7af608770eap+9, 0x1.013490b9af720p+3},
                            {-0x1.32a5265192ed5p+9, -0x1.5f862561877d3p+9, 0x1.e7780f52fc3afp-1},
                            {-0x1.17030c9dee7a0p+7, 0x1.5d777236424adp+6, -0x1.2f2581d2a53abp+1},
                            {-0x1.1453eb25ffcf0p+7, -0x1.ae3d8fa7e30c4p+9, 0x1.7a10305f2ee8bp+2,
                             -11, -68, 0x22b21ee9a59d6931, 77}},
                    SkewRow{2,
                            2,
                            {14285.714285714286, -11111.111111111111, 11.1},
                            {0x1.316970f70f710p+15, -0x1.0a975e45e45e5p+15, 0x1.f0c56d5cfaacdp+4},
                            {0x1.be6db6db6db74p+13, -0x1.5b38e38e38e40p+13, 0x1.6333333333333p+3},
                            {-0x1.4746f1792e1d7p+15, -0x1.6ab54c2ee7d00p+16, 0x1.355f2a2adbd2dp+2},
                            {0x1.23ea7c8e85342p+16, 0x1.44977b7e7b95cp+11, 0x1.30e5d817dfb33p+4,
                             5884, 204, 0xf6afca83b4e70c7f, 77}}));

TEST(Transforms, DoNothingInTheIdentityContext) {
  const CoordContext context = identity_context();
  const Point point = {1.5, -2.25, 3.125};
  for (std::size_t system = 0; system < kSystemCount; ++system) {
    expect_point(to_world(context, point, system), point);
    expect_point(from_world(context, point, system), point);
    expect_point(cell_plane_to_system(context, point, system), point);
    for (std::size_t target = 0; target < kSystemCount; ++target) {
      expect_point(convert(context, point, system, target), point);
    }
  }
}

TEST(Transforms, RefuseACodeThatNamesNoSystem) {
  const CoordContext context = identity_context();
  const Point point = {1, 2, 3};
  for (const std::size_t code : {std::size_t{5}, std::size_t{6}, std::size_t{255}, SIZE_MAX}) {
    EXPECT_FALSE(to_world(context, point, code).has_value()) << code;
    EXPECT_FALSE(from_world(context, point, code).has_value()) << code;
    EXPECT_FALSE(convert(context, point, code, 0).has_value()) << code;
    EXPECT_FALSE(convert(context, point, 0, code).has_value()) << code;
    EXPECT_FALSE(cell_plane_to_system(context, point, code).has_value()) << code;
    EXPECT_FALSE(locate_cell(context, point, code).has_value()) << code;
  }
}

TEST(Transforms, RefuseANonFiniteCoordinate) {
  const CoordContext context = identity_context();
  for (const double bad : kNonFinite) {
    for (const Point& point : {Point{bad, 0, 0}, Point{0, bad, 0}, Point{0, 0, bad}}) {
      EXPECT_FALSE(to_world(context, point, 0).has_value()) << bad;
      EXPECT_FALSE(from_world(context, point, 0).has_value()) << bad;
      EXPECT_FALSE(convert(context, point, 0, 0).has_value()) << bad;
      EXPECT_FALSE(cell_plane_to_system(context, point, 0).has_value()) << bad;
      EXPECT_FALSE(locate_cell(context, point, 0).has_value()) << bad;
    }
  }
}

TEST(Transforms, RefuseAResultThatOverflows) {
  const double large = std::numeric_limits<double>::max();
  CoordContext context = identity_context();
  context.systems[0] = {.plane = {.a = 2, .d = 2}, .z_scale = 2};
  for (const Point& point : {Point{large, 0, 0}, Point{0, large, 0}, Point{0, 0, large}}) {
    EXPECT_FALSE(to_world(context, point, 0).has_value());
    EXPECT_FALSE(locate_cell(context, point, 0).has_value());
  }
  context.systems[1] = {.plane = {.a = 0.5, .d = 0.5}, .z_scale = 0.5};
  context.cell_plane = {.a = 0.5, .d = 0.5};
  context.cell_z_scale = 0.5;
  context.cell_size = large;
  for (const Point& point : {Point{large, 0, 0}, Point{0, large, 0}, Point{0, 0, large}}) {
    EXPECT_FALSE(from_world(context, point, 1).has_value());
    EXPECT_TRUE(to_world(context, point, 1).has_value());
    EXPECT_FALSE(locate_cell(context, point, 2).has_value());
  }
  context.cell_plane = {.a = 2, .d = 2};
  context.cell_z_scale = 2;
  for (const Point& point : {Point{large, 0, 0}, Point{0, large, 0}, Point{0, 0, large}}) {
    EXPECT_FALSE(cell_plane_to_system(context, point, 2).has_value());
  }
}

TEST(ToWorld, RefusesASingularZScale) {
  CoordContext context = identity_context();
  for (const double scale : kSingular) {
    context.systems[3].z_scale = scale;
    EXPECT_FALSE(to_world(context, {1, 2, 3}, 3).has_value()) << scale;
  }
  for (const double scale : kRegular) {
    context.systems[3].z_scale = scale;
    EXPECT_TRUE(to_world(context, {1, 2, 3}, 3).has_value()) << scale;
  }
}

TEST(ToWorld, RefusesANonFiniteZOffset) {
  CoordContext context = identity_context();
  for (const double offset : kNonFinite) {
    context.systems[3].z_offset = offset;
    EXPECT_FALSE(to_world(context, {1, 2, 3}, 3).has_value()) << offset;
    EXPECT_FALSE(from_world(context, {1, 2, 3}, 3).has_value()) << offset;
  }
}

TEST(ToWorld, RefusesANonFiniteMatrix) {
  for (const double bad : kNonFinite) {
    for (double PlanarMapping::*const field :
         {&PlanarMapping::origin_x, &PlanarMapping::origin_y, &PlanarMapping::a, &PlanarMapping::b,
          &PlanarMapping::c, &PlanarMapping::d}) {
      CoordContext context = identity_context();
      context.systems[0].plane.*field = bad;
      context.cell_plane.*field = bad;
      EXPECT_FALSE(to_world(context, {1, 2, 3}, 0).has_value()) << bad;
      EXPECT_FALSE(from_world(context, {1, 2, 3}, 0).has_value()) << bad;
      EXPECT_FALSE(cell_plane_to_system(context, {1, 2, 3}, 1).has_value()) << bad;
      EXPECT_FALSE(locate_cell(context, {1, 2, 3}, 1).has_value()) << bad;
    }
  }
}

TEST(ToWorld, MapsThroughASingularMatrix) {
  CoordContext context = identity_context();
  context.systems[2].plane = {.origin_x = 5, .origin_y = 6, .a = 0, .b = 0, .c = 0, .d = 0};
  expect_point(to_world(context, {1, 2, 3}, 2), {5, 6, 3});
  EXPECT_TRUE(convert(context, {1, 2, 3}, 2, 0).has_value());
  EXPECT_FALSE(convert(context, {1, 2, 3}, 0, 2).has_value());
}

TEST(FromWorld, RefusesASingularDeterminant) {
  CoordContext context = identity_context();
  for (const double determinant : kSingular) {
    context.systems[4].plane = mapping_with_determinant(determinant);
    EXPECT_FALSE(from_world(context, {0, 0, 0}, 4).has_value()) << determinant;
    EXPECT_FALSE(cell_plane_to_system(context, {0, 0, 0}, 4).has_value()) << determinant;
  }
  for (const double determinant : kRegular) {
    context.systems[4].plane = mapping_with_determinant(determinant);
    EXPECT_TRUE(from_world(context, {0, 0, 0}, 4).has_value()) << determinant;
    EXPECT_TRUE(cell_plane_to_system(context, {0, 0, 0}, 4).has_value()) << determinant;
  }
}

TEST(FromWorld, RefusesADeterminantThatOverflows) {
  CoordContext context = identity_context();
  context.systems[0].plane = {.a = 1e200, .d = 1e200};
  EXPECT_FALSE(from_world(context, {0, 0, 0}, 0).has_value());
  context.systems[0].plane = {.a = 1e200, .b = 1e200, .c = 1e200, .d = 1e200};
  EXPECT_FALSE(from_world(context, {0, 0, 0}, 0).has_value());
}

TEST(FromWorld, RefusesASingularZScale) {
  CoordContext context = identity_context();
  for (const double scale : kSingular) {
    context.systems[4].z_scale = scale;
    EXPECT_FALSE(from_world(context, {0, 0, 0}, 4).has_value()) << scale;
  }
  for (const double scale : kRegular) {
    context.systems[4].z_scale = scale;
    EXPECT_TRUE(from_world(context, {0, 0, 0}, 4).has_value()) << scale;
  }
}

TEST(CellPlaneToSystem, RefusesASingularZScale) {
  CoordContext context = identity_context();
  for (const double scale : kSingular) {
    context.cell_z_scale = scale;
    EXPECT_FALSE(cell_plane_to_system(context, {1, 2, 3}, 0).has_value()) << scale;
  }
  for (const double scale : kRegular) {
    context.cell_z_scale = scale;
    EXPECT_TRUE(cell_plane_to_system(context, {1, 2, 3}, 0).has_value()) << scale;
  }
}

TEST(CellPlaneToSystem, NeedsNoInverseOfTheCellPlaneAndNoCellSize) {
  CoordContext context = identity_context();
  context.cell_plane = {.origin_x = 8, .origin_y = 9, .a = 0, .b = 0, .c = 0, .d = 0};
  context.cell_size = 0;
  expect_point(cell_plane_to_system(context, {1, 2, 3}, 0), {8, 9, 3});
}

// Arithmetic as written: every product rounds before it is added, sums go from left to right, an
// inverse multiplies by the reciprocal of the determinant, z is divided.

TEST(TransformArithmetic, RoundsProductsBeforeAdding) {
  CoordContext context = identity_context();
  const double one_and_a_bit = 1 + 0x1p-30;
  context.systems[0].plane = {.origin_x = -(1 + 0x1p-29), .a = one_and_a_bit, .d = 1};
  context.systems[0].z_scale = one_and_a_bit;
  context.systems[0].z_offset = -(1 + 0x1p-29);
  expect_point(to_world(context, {one_and_a_bit, 0, one_and_a_bit}, 0), {0, 0, 0});
}

TEST(TransformArithmetic, AddsFromLeftToRight) {
  CoordContext context = identity_context();
  context.systems[0].plane = {.origin_x = 1e16, .origin_y = 1e16, .a = 1, .b = 1, .c = 1, .d = 1};
  expect_point(to_world(context, {1, 1, 0}, 0), {1e16, 1e16, 0});
}

TEST(TransformArithmetic, RoundsTheProductsOfADeterminant) {
  // a*d is 1 + 2^-26 + 2^-54 exactly, and 1 + 2^-26 when rounded, which c*b is as well.
  CoordContext context = identity_context();
  context.systems[0].plane = {.a = 1 + 0x1p-27, .b = 1 + 0x1p-26, .c = 1, .d = 1 + 0x1p-27};
  EXPECT_FALSE(from_world(context, {0, 0, 0}, 0).has_value());
}

TEST(LocateCell, RefusesACellSizeThatIsNotAboveZeroAndFinite) {
  CoordContext context = identity_context();
  for (const double size : {0.0, -0.0, -1.0, -5e-324, kInfinity, -kInfinity, kNan}) {
    context.cell_size = size;
    EXPECT_FALSE(locate_cell(context, {1, 2, 3}, 0).has_value()) << size;
    EXPECT_TRUE(cell_plane_to_system(context, {1, 2, 3}, 0).has_value()) << size;
    EXPECT_TRUE(convert(context, {1, 2, 3}, 0, 1).has_value()) << size;
  }
  context.cell_size = 5e-324;
  EXPECT_TRUE(locate_cell(context, {0, 0, 0}, 0).has_value());
}

TEST(LocateCell, RefusesASingularZScaleOrCellPlane) {
  CoordContext context = identity_context();
  for (const double value : kSingular) {
    context.cell_z_scale = value;
    EXPECT_FALSE(locate_cell(context, {0, 0, 0}, 0).has_value()) << value;
    context.cell_z_scale = 1;
    context.cell_plane = mapping_with_determinant(value);
    EXPECT_FALSE(locate_cell(context, {0, 0, 0}, 0).has_value()) << value;
    context.cell_plane = {};
  }
  for (const double value : kRegular) {
    context.cell_z_scale = value;
    EXPECT_TRUE(locate_cell(context, {0, 0, 0}, 0).has_value()) << value;
    context.cell_z_scale = 1;
    context.cell_plane = mapping_with_determinant(value);
    EXPECT_TRUE(locate_cell(context, {0, 0, 0}, 0).has_value()) << value;
    context.cell_plane = {};
  }
}

TEST(LocateCell, RefusesANonFiniteZOffset) {
  CoordContext context = identity_context();
  for (const double offset : kNonFinite) {
    context.cell_z_offset = offset;
    EXPECT_FALSE(locate_cell(context, {0, 0, 0}, 0).has_value()) << offset;
    EXPECT_FALSE(cell_plane_to_system(context, {0, 0, 0}, 0).has_value()) << offset;
  }
}

// The cell index of a coordinate in the identity context with cells of size 1.
struct IndexRow {
  double coordinate;
  std::optional<std::int64_t> index;

  friend void PrintTo(const IndexRow& row, std::ostream* out) {
    *out << row.coordinate << " -> "
         << (row.index.has_value() ? std::to_string(*row.index) : "nothing");
  }
};

class CellIndex : public testing::TestWithParam<IndexRow> {};

TEST_P(CellIndex, IsTheFloorOnBothAxes) {
  const auto [coordinate, index] = GetParam();
  const CoordContext context = identity_context();
  const std::optional<CellLocation> along_x = locate_cell(context, {coordinate, 0, 0}, 0);
  const std::optional<CellLocation> along_y = locate_cell(context, {0, coordinate, 0}, 0);
  ASSERT_EQ(along_x.has_value(), index.has_value());
  ASSERT_EQ(along_y.has_value(), index.has_value());
  if (!index.has_value()) return;
  EXPECT_EQ(along_x->i, *index);
  EXPECT_EQ(along_x->j, 0);
  EXPECT_EQ(along_x->key, cell_key(*index, 0, 0));
  EXPECT_EQ(along_y->i, 0);
  EXPECT_EQ(along_y->j, *index);
  EXPECT_EQ(along_y->key, cell_key(0, *index, 0));
}

constexpr std::int64_t kLowestIndex = std::numeric_limits<std::int64_t>::min();

INSTANTIATE_TEST_SUITE_P(
    Rows, CellIndex,
    testing::Values(IndexRow{0.0, 0}, IndexRow{-0.0, 0}, IndexRow{5e-324, 0}, IndexRow{0.999, 0},
                    IndexRow{1.0, 1}, IndexRow{std::nextafter(1.0, 0.0), 0}, IndexRow{-5e-324, -1},
                    IndexRow{-1e-300, -1}, IndexRow{-1.0, -1},
                    IndexRow{std::nextafter(-1.0, -2.0), -2},
                    IndexRow{std::nextafter(kTwoToThe63, 0.0), 9223372036854774784},
                    IndexRow{kTwoToThe63, kLowestIndex},
                    IndexRow{std::nextafter(kTwoToThe63, kInfinity), std::nullopt},
                    IndexRow{std::nextafter(-kTwoToThe63, 0.0), -9223372036854774784},
                    IndexRow{-kTwoToThe63, kLowestIndex},
                    IndexRow{std::nextafter(-kTwoToThe63, -kInfinity), std::nullopt},
                    IndexRow{1e300, std::nullopt}, IndexRow{-1e300, std::nullopt}));

TEST(LocateCell, RefusesAQuotientThatOverflows) {
  CoordContext context = identity_context();
  context.cell_size = 1e-300;
  EXPECT_FALSE(locate_cell(context, {1e10, 0, 0}, 0).has_value());
  EXPECT_FALSE(locate_cell(context, {0, -1e10, 0}, 0).has_value());
}

TEST(LocateCell, DividesByTheCellSize) {
  CoordContext context = identity_context();
  context.cell_size = 2.5;
  const std::optional<CellLocation> cell = locate_cell(context, {2.5, -0.1, 0}, 0);
  ASSERT_TRUE(cell.has_value());
  EXPECT_EQ(cell->i, 1);
  EXPECT_EQ(cell->j, -1);
}

// Computed elsewhere from the definition.
struct KeyRow {
  std::int64_t i;
  std::int64_t j;
  std::uint64_t seed;
  std::uint64_t key;

  friend void PrintTo(const KeyRow& row, std::ostream* out) {
    *out << "cell (" << row.i << ", " << row.j << ") under seed " << row.seed;
  }
};

class CellKey : public testing::TestWithParam<KeyRow> {};

TEST_P(CellKey, HashesIndicesAndSeed) {
  const KeyRow& row = GetParam();
  EXPECT_EQ(cell_key(row.i, row.j, row.seed), row.key);
}

constexpr std::int64_t kHighestIndex = std::numeric_limits<std::int64_t>::max();

INSTANTIATE_TEST_SUITE_P(
    Rows, CellKey,
    testing::Values(KeyRow{0, 0, 0, 0x1d5fb089a0e993c4}, KeyRow{1, 0, 0, 0x2e919ae06b0388f7},
                    KeyRow{0, 1, 0, 0xbf3ddb9638324cb7}, KeyRow{-1, 0, 0, 0x3eb565d251024896},
                    KeyRow{0, -1, 0, 0x977cdbb4ff92fd47}, KeyRow{-1, -1, 0, 0xc70bbb057b5ab5ae},
                    KeyRow{3, -4, 0x0123456789abcdef, 0x7a1860ba696244cb},
                    KeyRow{3, -4, 0xffffffffffffffff, 0x073c06b8bdae122c},
                    KeyRow{kLowestIndex, kHighestIndex, 1, 0x4d6359240df6d971},
                    KeyRow{kHighestIndex, kLowestIndex, 1, 0x94b63ac5e65ef92e},
                    KeyRow{kLowestIndex, kLowestIndex, 0, 0xb666347197630f45}));

}  // namespace
}  // namespace geometry
