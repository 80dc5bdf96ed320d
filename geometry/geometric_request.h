// Single calculations for a host that runs no program: sums, quotients, distances, polar points.

#ifndef GEOMETRY_GEOMETRIC_REQUEST_H_
#define GEOMETRY_GEOMETRIC_REQUEST_H_

#include <array>
#include <cstddef>
#include <cstdint>

namespace geometry {

inline constexpr std::size_t kOperandCountMax = 7;

// The operands that each operation takes and what it makes of them; x unless y is named. In the
// order of the protocol's codes; worker/geometry_requests.cc checks that it is.
enum class GeometryOperation : std::uint8_t {
  Sum = 1,     // At least 1: added left to right, from 0.
  Difference,  // At least 1: the first minus each other in turn.
  Product,     // At least 1: multiplied left to right, from 1.
  Quotient,    // At least 2: the first divided by each other in turn, up to one that is refused
               // (lisp::isRefusedDivisor).
  Distance,    // 4, two points: the length between them.
  Angle,       // 4, two points: the direction from the first to the second, in radians from
               // -pi to pi; 0 when they are one.
  Polar,       // 4, a base point, an angle in radians, a distance: the point (x, y) there.
};

// A calculation as a host asks for it; nothing in it is checked yet.
struct GeometryRequest {
  std::uint8_t operation = 0;  // A GeometryOperation, or any other number.
  std::uint8_t count = 0;      // The number of operands in use. The others are ignored.
  std::array<double, kOperandCountMax> operands{};
};

enum class GeometryOutcome {
  Computed,
  BadOperands,  // Too many or too few of them, or one that is NaN or infinite.
  UnknownOperation,
  Degenerate,  // A divisor too close to 0, or a result that is NaN or infinite.
};

struct GeometryResult {
  GeometryOutcome outcome = GeometryOutcome::Computed;
  // The result, a NaN or an infinity included; 0 when nothing was computed.
  double x = 0;
  double y = 0;
};

[[nodiscard]] GeometryResult compute_geometric_request(const GeometryRequest& request);

}  // namespace geometry

#endif  // GEOMETRY_GEOMETRIC_REQUEST_H_
