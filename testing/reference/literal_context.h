// Coordinate contexts of the literal implementation, as far as TRANS needs them.

#ifndef TESTING_REFERENCE_LITERAL_CONTEXT_H_
#define TESTING_REFERENCE_LITERAL_CONTEXT_H_

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "lisp_worker/worker/frame.h"

namespace lisp_worker::testing_support {

inline constexpr std::size_t kLiteralSystemCount = 5;

struct LiteralPoint {
  double x = 0.0;
  double y = 0.0;
  double z = 0.0;
};

// A planar system: X = origin_x + a x + c y, Y = origin_y + b x + d y, Z = z_scale z + z_offset.
struct LiteralSystem {
  double origin_x = 0.0;
  double origin_y = 0.0;
  double a = 1.0;
  double b = 0.0;
  double c = 0.0;
  double d = 1.0;
  double z_scale = 1.0;
  double z_offset = 0.0;
};

struct LiteralContext {
  std::uint64_t id = 0;
  std::array<LiteralSystem, kLiteralSystemCount> systems;
};

// The systems of a 416-byte record, as it travels in a registration.
[[nodiscard]] LiteralContext literalReadContext(std::string_view record);

// Both give no point for a system of 5 or more, for coordinates that are not finite, before or
// after, and for a system that is singular to 1e-18.
[[nodiscard]] std::optional<LiteralPoint> literalToWorld(const LiteralContext& context,
                                                         const LiteralPoint& point,
                                                         std::size_t system);
[[nodiscard]] std::optional<LiteralPoint> literalFromWorld(const LiteralContext& context,
                                                           const LiteralPoint& world,
                                                           std::size_t system);

// From one system to another by way of the world.
[[nodiscard]] std::optional<LiteralPoint> literalConvert(const LiteralContext& context,
                                                         const LiteralPoint& point,
                                                         std::size_t source, std::size_t target);

// The registered contexts: at most 32, replaced in place, never forgotten.
class LiteralContextTable {
 public:
  // Handles a registration; gives Ok or InvalidRequest.
  worker::WorkerStatus registerContext(std::uint64_t context_id, std::string_view record);
  // The context registered under `context_id`, or null. A later registration of the same id
  // changes what the pointer shows; one of another id may end its life.
  [[nodiscard]] const LiteralContext* find(std::uint64_t context_id) const;

 private:
  std::vector<LiteralContext> contexts_;
};

}  // namespace lisp_worker::testing_support

#endif  // TESTING_REFERENCE_LITERAL_CONTEXT_H_
