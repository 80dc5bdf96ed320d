// Coordinate contexts and the questions about points in them, in types.
//
// A context is five planar coordinate systems that map to one world, and a cell plane that divides
// the world into square cells. A host registers it under an id and may replace it at any time.

#ifndef LISP_WORKER_CLIENT_COORDINATES_H_
#define LISP_WORKER_CLIENT_COORDINATES_H_

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

#include "lisp_worker/worker/frame.h"

namespace lisp_worker::client {

struct Point {
  double x = 0;
  double y = 0;
  double z = 0;

  friend bool operator==(const Point&, const Point&) = default;
};

// Maps a point (x, y, z) of the system to the world:
//   X = origin_x + a*x + c*y
//   Y = origin_y + b*x + d*y
//   Z = z_scale*z + z_offset
// Default: the identity.
struct PlanarSystem {
  double origin_x = 0;
  double origin_y = 0;
  double a = 1;
  double b = 0;
  double c = 0;
  double d = 1;
  double z_scale = 1;
  double z_offset = 0;
};

// The worker checks nothing of this when it is registered. A system that cannot be inverted shows
// when a point is converted into it.
struct CoordContext {
  std::uint64_t id = 0;
  std::uint64_t cell_key_seed = 0;
  std::uint32_t tag = 0;  // Comes back with every located cell.
  double cell_size = 1;   // Edge of a cell, in units of the cell plane.
  std::array<PlanarSystem, worker::kSystemCount> systems;
  PlanarSystem cell_plane;  // Its z_scale and z_offset are the cell plane's.
};

// The cell that a point lies in.
struct CellLocation {
  Point in_cell_plane;
  std::int64_t i = 0;
  std::int64_t j = 0;
  std::uint64_t key = 0;
  std::uint32_t tag = 0;

  friend bool operator==(const CellLocation&, const CellLocation&) = default;
};

// Payloads of requests. `source_system` and `target_system` are 0 to 4; the worker refuses others.
[[nodiscard]] std::string encodeContext(const CoordContext& context);
[[nodiscard]] std::string encodePointRequest(const Point& point, std::uint8_t source_system,
                                             std::uint8_t target_system);

// Payloads of responses, of worker::kPointResultSize bytes.
[[nodiscard]] Point decodePoint(std::string_view payload);
[[nodiscard]] CellLocation decodeCellLocation(std::string_view payload);

}  // namespace lisp_worker::client

#endif  // LISP_WORKER_CLIENT_COORDINATES_H_
