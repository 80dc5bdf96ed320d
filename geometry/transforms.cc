// A system maps its coordinates to the world by the formula in geometry/coord_context.h; the way
// back inverts the matrix by its determinant. Points are tested for being finite as they come in
// and as they leave, so a NaN or an infinity on the way is found.

#include "geometry/transforms.h"

#include <cmath>
#include <limits>

#include "lisp/wrapping.h"

namespace geometry {
namespace {

bool is_finite(const Point& point) {
  return std::isfinite(point.x) && std::isfinite(point.y) && std::isfinite(point.z);
}

std::optional<Point> finite_or_nothing(const Point& point) {
  if (!is_finite(point)) return std::nullopt;
  return point;
}

bool is_singular(double scale_or_determinant) {
  return !std::isfinite(scale_or_determinant) || std::abs(scale_or_determinant) <= kSingularMax;
}

// (x, y, z) -> (X, Y, Z) by a planar mapping and a z mapping.
Point apply(const PlanarMapping& mapping, double z_scale, double z_offset, const Point& point) {
  const auto [ox, oy, a, b, c, d] = mapping;
  const auto [x, y, z] = point;
  return {
      .x = ox + a * x + c * y,
      .y = oy + b * x + d * y,
      .z = z_scale * z + z_offset,
  };
}

// (X, Y, Z) -> (x, y, z), given the inverse of the planar mapping and the z mapping itself.
Point apply_inverse(const PlanarMapping& inverse, double z_scale, double z_offset,
                    const Point& world) {
  const auto [ox, oy, a, b, c, d] = inverse;
  const auto [X, Y, Z] = world;
  return {
      .x = ox + a * X + c * Y,
      .y = oy + b * X + d * Y,
      .z = (Z - z_offset) / z_scale,
  };
}

// det = a*d - c*b, r = 1/det
// a' = d*r, b' = -b*r, c' = -c*r, d' = a*r
// ox' = -(ox*a' + oy*c'), oy' = -(ox*b' + oy*d')
std::optional<PlanarMapping> invert(const PlanarMapping& mapping) {
  const auto [ox, oy, a, b, c, d] = mapping;
  const double det = a * d - c * b;
  if (is_singular(det)) return std::nullopt;
  const double r = 1 / det;
  PlanarMapping inverse;
  inverse.a = d * r;
  inverse.b = -b * r;
  inverse.c = -c * r;
  inverse.d = a * r;
  inverse.origin_x = -(ox * inverse.a + oy * inverse.c);
  inverse.origin_y = -(ox * inverse.b + oy * inverse.d);
  return inverse;
}

constexpr double kTwoToThe63 = 9223372036854775808.0;

bool is_cell_index(double floored) { return floored >= -kTwoToThe63 && floored <= kTwoToThe63; }

// 2^63 itself has no signed 64-bit number; it becomes the pattern with the top bit alone set.
std::int64_t to_cell_index(double floored) {
  if (floored == kTwoToThe63) return std::numeric_limits<std::int64_t>::min();
  return static_cast<std::int64_t>(floored);
}

// M(z): y = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9, M = (y ^ (y >> 27)) * 0x94d049bb133111eb
LISP_WRAPS std::uint64_t mix(std::uint64_t z) {
  const std::uint64_t y = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9;
  return (y ^ (y >> 27)) * 0x94d049bb133111eb;
}

}  // namespace

std::optional<Point> to_world(const CoordContext& context, const Point& point, std::size_t s) {
  if (s >= kSystemCount || !is_finite(point)) return std::nullopt;
  const PlanarSystem& system = context.systems[s];
  if (is_singular(system.z_scale) || !std::isfinite(system.z_offset)) return std::nullopt;
  return finite_or_nothing(apply(system.plane, system.z_scale, system.z_offset, point));
}

std::optional<Point> from_world(const CoordContext& context, const Point& world, std::size_t t) {
  if (t >= kSystemCount || !is_finite(world)) return std::nullopt;
  const PlanarSystem& system = context.systems[t];
  const std::optional<PlanarMapping> inverse = invert(system.plane);
  if (!inverse.has_value() || is_singular(system.z_scale)) return std::nullopt;
  return finite_or_nothing(apply_inverse(*inverse, system.z_scale, system.z_offset, world));
}

std::optional<Point> convert(const CoordContext& context, const Point& point, std::size_t s,
                             std::size_t t) {
  const std::optional<Point> world = to_world(context, point, s);
  if (!world.has_value()) return std::nullopt;
  return from_world(context, *world, t);
}

std::optional<Point> cell_plane_to_system(const CoordContext& context, const Point& point,
                                          std::size_t t) {
  if (!is_finite(point) || is_singular(context.cell_z_scale)) return std::nullopt;
  return from_world(
      context, apply(context.cell_plane, context.cell_z_scale, context.cell_z_offset, point), t);
}

std::optional<CellLocation> locate_cell(const CoordContext& context, const Point& point,
                                        std::size_t s) {
  if (!std::isfinite(context.cell_size) || context.cell_size <= 0) return std::nullopt;
  if (is_singular(context.cell_z_scale)) return std::nullopt;
  const std::optional<Point> world = to_world(context, point, s);
  const std::optional<PlanarMapping> inverse = invert(context.cell_plane);
  if (!world.has_value() || !inverse.has_value()) return std::nullopt;

  const Point cell_point =
      apply_inverse(*inverse, context.cell_z_scale, context.cell_z_offset, *world);
  if (!is_finite(cell_point)) return std::nullopt;
  const auto [u, v, w] = cell_point;

  const double fi = std::floor(u / context.cell_size);
  const double fj = std::floor(v / context.cell_size);
  if (!is_cell_index(fi) || !is_cell_index(fj)) return std::nullopt;
  const std::int64_t i = to_cell_index(fi);
  const std::int64_t j = to_cell_index(fj);
  return CellLocation{
      .u = u,
      .v = v,
      .w = w,
      .i = i,
      .j = j,
      .key = cell_key(i, j, context.cell_key_seed),
      .tag = context.tag,
  };
}

// p = M(i + 0x9e3779b97f4a7c15), q = M(j + 0x243f6a8885a308d3)
// x = p ^ q, h = x ^ (x >> 31) ^ seed, key = M(h) ^ (M(h) >> 31), all modulo 2^64
LISP_WRAPS std::uint64_t cell_key(std::int64_t i, std::int64_t j, std::uint64_t seed) {
  const std::uint64_t p = mix(static_cast<std::uint64_t>(i) + 0x9e3779b97f4a7c15);
  const std::uint64_t q = mix(static_cast<std::uint64_t>(j) + 0x243f6a8885a308d3);
  const std::uint64_t x = p ^ q;
  const std::uint64_t h = x ^ (x >> 31) ^ seed;
  const std::uint64_t mixed = mix(h);
  return mixed ^ (mixed >> 31);
}

}  // namespace geometry
