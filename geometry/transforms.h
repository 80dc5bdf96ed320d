// Points between the coordinate systems of a context.
//
// Everything is computed in doubles, in the written order of the formulas, each product and each
// sum rounded by itself. An operation gives nothing when a number that it is given or computes is
// NaN or infinite, or when a mapping that it needs is singular.

#ifndef GEOMETRY_TRANSFORMS_H_
#define GEOMETRY_TRANSFORMS_H_

#include <cstddef>
#include <cstdint>
#include <optional>

#include "geometry/coord_context.h"

namespace geometry {

// A determinant or a z scale is singular at or below this absolute value, as it is when NaN or
// infinite. The bound does not depend on the size of the coordinates.
inline constexpr double kSingularMax = 1e-18;

// A point in the cell plane, and the cell that holds it. A cell owns its lower edges: a point on
// the boundary of two cells belongs to the upper one.
struct CellLocation {
  double u = 0;  // The point in cell-plane coordinates.
  double v = 0;
  double w = 0;
  std::int64_t i = 0;  // The indices of the cell.
  std::int64_t j = 0;
  std::uint64_t key = 0;  // A hash of i, j and the context's seed.
  std::uint32_t tag = 0;  // The context's.
};

// From system `s` to the world. Nothing for a code that names no system.
[[nodiscard]] std::optional<Point> to_world(const CoordContext& context, const Point& point,
                                            std::size_t s);

// From the world to system `t`.
[[nodiscard]] std::optional<Point> from_world(const CoordContext& context, const Point& world,
                                              std::size_t t);

// From system `s` to system `t`, by way of the world even when both are the same.
[[nodiscard]] std::optional<Point> convert(const CoordContext& context, const Point& point,
                                           std::size_t s, std::size_t t);

// From the cell plane to system `t`.
[[nodiscard]] std::optional<Point> cell_plane_to_system(const CoordContext& context,
                                                        const Point& point, std::size_t t);

// The cell that holds a point of system `s`. Also fails when the cell size is not above 0, or when
// an index leaves the range -2^63 to 2^63. The upper bound itself passes and becomes the bit
// pattern of -2^63.
[[nodiscard]] std::optional<CellLocation> locate_cell(const CoordContext& context,
                                                      const Point& point, std::size_t s);

// The key of cell (i, j): the finaliser of the SplitMix64 generator over both indices and the
// seed. Equal cells under equal seeds have equal keys; hosts compute the same ones.
[[nodiscard]] std::uint64_t cell_key(std::int64_t i, std::int64_t j, std::uint64_t seed);

}  // namespace geometry

#endif  // GEOMETRY_TRANSFORMS_H_
