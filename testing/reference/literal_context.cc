// The formulas of docs/PROTOCOL.md, with all checks written out at each.

#include "testing/reference/literal_context.h"

#include <bit>
#include <cmath>

namespace lisp_worker::testing_support {
namespace {

constexpr double kSingular = 1e-18;
constexpr std::size_t kRecordSize = 416;
constexpr std::size_t kSlotCount = 32;
constexpr std::size_t kSystemsOffset = 32;
constexpr std::size_t kSystemSize = 64;

std::uint64_t readInteger(std::string_view record, std::size_t offset) {
  std::uint64_t bits = 0;
  for (std::size_t i = 0; i < 8; ++i) {
    bits |= static_cast<std::uint64_t>(static_cast<unsigned char>(record[offset + i])) << (8 * i);
  }
  return bits;
}

double readDouble(std::string_view record, std::size_t offset) {
  return std::bit_cast<double>(readInteger(record, offset));
}

bool isFinite(const LiteralPoint& point) {
  return std::isfinite(point.x) && std::isfinite(point.y) && std::isfinite(point.z);
}

bool isSingular(double value) { return !std::isfinite(value) || std::fabs(value) <= kSingular; }

}  // namespace

LiteralContext literalReadContext(std::string_view record) {
  LiteralContext context;
  context.id = readInteger(record, 0);
  for (std::size_t s = 0; s < kLiteralSystemCount; ++s) {
    const std::size_t offset = kSystemsOffset + kSystemSize * s;
    LiteralSystem& system = context.systems[s];
    system.origin_x = readDouble(record, offset);
    system.origin_y = readDouble(record, offset + 8);
    system.a = readDouble(record, offset + 16);
    system.b = readDouble(record, offset + 24);
    system.c = readDouble(record, offset + 32);
    system.d = readDouble(record, offset + 40);
    system.z_scale = readDouble(record, offset + 48);
    system.z_offset = readDouble(record, offset + 56);
  }
  return context;
}

std::optional<LiteralPoint> literalToWorld(const LiteralContext& context, const LiteralPoint& point,
                                           std::size_t system) {
  if (system >= kLiteralSystemCount || !isFinite(point)) return std::nullopt;
  const LiteralSystem& s = context.systems[system];
  if (isSingular(s.z_scale) || !std::isfinite(s.z_offset)) return std::nullopt;
  LiteralPoint world;
  world.x = s.origin_x + s.a * point.x + s.c * point.y;
  world.y = s.origin_y + s.b * point.x + s.d * point.y;
  world.z = s.z_scale * point.z + s.z_offset;
  if (!isFinite(world)) return std::nullopt;
  return world;
}

std::optional<LiteralPoint> literalFromWorld(const LiteralContext& context,
                                             const LiteralPoint& world, std::size_t system) {
  if (system >= kLiteralSystemCount || !isFinite(world)) return std::nullopt;
  const LiteralSystem& s = context.systems[system];
  const double det = s.a * s.d - s.c * s.b;
  if (isSingular(det)) return std::nullopt;
  const double r = 1 / det;
  const double inverse_a = s.d * r;
  const double inverse_b = -s.b * r;
  const double inverse_c = -s.c * r;
  const double inverse_d = s.a * r;
  const double inverse_origin_x = -(s.origin_x * inverse_a + s.origin_y * inverse_c);
  const double inverse_origin_y = -(s.origin_x * inverse_b + s.origin_y * inverse_d);
  if (isSingular(s.z_scale)) return std::nullopt;
  LiteralPoint point;
  point.x = inverse_origin_x + inverse_a * world.x + inverse_c * world.y;
  point.y = inverse_origin_y + inverse_b * world.x + inverse_d * world.y;
  point.z = (world.z - s.z_offset) / s.z_scale;
  if (!isFinite(point)) return std::nullopt;
  return point;
}

std::optional<LiteralPoint> literalConvert(const LiteralContext& context, const LiteralPoint& point,
                                           std::size_t source, std::size_t target) {
  const std::optional<LiteralPoint> world = literalToWorld(context, point, source);
  if (!world.has_value()) return std::nullopt;
  return literalFromWorld(context, *world, target);
}

worker::WorkerStatus LiteralContextTable::registerContext(std::uint64_t context_id,
                                                          std::string_view record) {
  using worker::WorkerStatus;
  if (record.size() != kRecordSize) return WorkerStatus::InvalidRequest;
  const LiteralContext context = literalReadContext(record);
  if (context.id != context_id) return WorkerStatus::InvalidRequest;
  for (LiteralContext& registered : contexts_) {
    if (registered.id == context_id) {
      registered = context;
      return WorkerStatus::Ok;
    }
  }
  if (contexts_.size() == kSlotCount) return WorkerStatus::InvalidRequest;
  contexts_.push_back(context);
  return WorkerStatus::Ok;
}

const LiteralContext* LiteralContextTable::find(std::uint64_t context_id) const {
  for (const LiteralContext& registered : contexts_) {
    if (registered.id == context_id) return &registered;
  }
  return nullptr;
}

}  // namespace lisp_worker::testing_support
