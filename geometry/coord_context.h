// A coordinate context: what a host tells the worker about the coordinate systems of one drawing.
//
// Five planar systems map to one world system, a cell plane divides the world into square cells,
// and a seed makes the keys of those cells the host's own. Every field holds what the host sent,
// unchecked: a matrix that cannot be inverted shows up when a transform needs its inverse.

#ifndef GEOMETRY_COORD_CONTEXT_H_
#define GEOMETRY_COORD_CONTEXT_H_

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>

namespace geometry {

struct Point {
  double x = 0;
  double y = 0;
  double z = 0;
};

// X = origin_x + a*x + c*y, Y = origin_y + b*x + d*y. Default: the identity.
struct PlanarMapping {
  double origin_x = 0;
  double origin_y = 0;
  double a = 1;
  double b = 0;
  double c = 0;
  double d = 1;
};

// A planar mapping with Z = z_scale*z + z_offset beside it. Default: the identity.
struct PlanarSystem {
  PlanarMapping plane;
  double z_scale = 1;
  double z_offset = 0;
};

// Systems are selected by their code, 0 to kSystemCount - 1.
inline constexpr std::size_t kSystemCount = 5;

struct CoordContext {
  std::uint64_t id = 0;
  std::uint64_t cell_key_seed = 0;  // Mixed into every cell key.
  std::uint32_t tag = 0;            // The host's own; comes back with every cell.
  std::uint32_t reserved = 0;       // So that there are no bytes between the fields.
  double cell_size = 1;             // Edge of a cell, in units of the cell plane.
  std::array<PlanarSystem, kSystemCount> systems;
  PlanarMapping cell_plane;  // From the cell plane to the world.
  double cell_z_scale = 1;
  double cell_z_offset = 0;
};

static_assert(sizeof(CoordContext) == 416);

// True when both have the same bytes: -0.0 is not 0.0, and a NaN is the same as itself.
[[nodiscard]] inline bool has_same_bytes(const CoordContext& a, const CoordContext& b) {
  using Bytes = std::array<std::byte, sizeof(CoordContext)>;
  return std::bit_cast<Bytes>(a) == std::bit_cast<Bytes>(b);
}

}  // namespace geometry

#endif  // GEOMETRY_COORD_CONTEXT_H_
