#include "lisp_worker/client/coordinates.h"

#include <cassert>
#include <cstddef>

namespace lisp_worker::client {

using worker::ContextOffset;
using worker::getF64;
using worker::PlanarOffset;
using worker::PointOffset;
using worker::PointResultOffset;
using worker::putF64;

namespace {

// The fields that a planar system and the cell plane begin with.
void putMapping(char* bytes, const PlanarSystem& system) {
  putF64(bytes + PlanarOffset::kOriginX, system.origin_x);
  putF64(bytes + PlanarOffset::kOriginY, system.origin_y);
  putF64(bytes + PlanarOffset::kA, system.a);
  putF64(bytes + PlanarOffset::kB, system.b);
  putF64(bytes + PlanarOffset::kC, system.c);
  putF64(bytes + PlanarOffset::kD, system.d);
}

void putSystem(char* bytes, const PlanarSystem& system) {
  putMapping(bytes, system);
  putF64(bytes + PlanarOffset::kZScale, system.z_scale);
  putF64(bytes + PlanarOffset::kZOffset, system.z_offset);
}

}  // namespace

std::string encodeContext(const CoordContext& context) {
  std::string payload(worker::kContextPayloadSize, '\0');
  char* const bytes = payload.data();
  worker::putU64(bytes + ContextOffset::kId, context.id);
  worker::putU64(bytes + ContextOffset::kCellKeySeed, context.cell_key_seed);
  worker::putU32(bytes + ContextOffset::kTag, context.tag);
  putF64(bytes + ContextOffset::kCellSize, context.cell_size);
  for (std::size_t s = 0; s < context.systems.size(); ++s) {
    putSystem(bytes + ContextOffset::kSystems + s * worker::kPlanarSystemSize, context.systems[s]);
  }
  putMapping(bytes + ContextOffset::kCellPlane, context.cell_plane);
  putF64(bytes + ContextOffset::kCellZScale, context.cell_plane.z_scale);
  putF64(bytes + ContextOffset::kCellZOffset, context.cell_plane.z_offset);
  return payload;
}

std::string encodePointRequest(const Point& point, std::uint8_t source_system,
                               std::uint8_t target_system) {
  std::string payload(worker::kPointPayloadSize, '\0');
  char* const bytes = payload.data();
  putF64(bytes + PointOffset::kX, point.x);
  putF64(bytes + PointOffset::kY, point.y);
  putF64(bytes + PointOffset::kZ, point.z);
  worker::putU8(bytes + PointOffset::kSourceSystem, source_system);
  worker::putU8(bytes + PointOffset::kTargetSystem, target_system);
  return payload;
}

Point decodePoint(std::string_view payload) {
  assert(payload.size() == worker::kPointResultSize);
  const char* const bytes = payload.data();
  return {getF64(bytes + PointResultOffset::kX), getF64(bytes + PointResultOffset::kY),
          getF64(bytes + PointResultOffset::kZ)};
}

CellLocation decodeCellLocation(std::string_view payload) {
  const char* const bytes = payload.data();
  CellLocation location;
  location.in_cell_plane = decodePoint(payload);
  location.i = static_cast<std::int64_t>(worker::getU64(bytes + PointResultOffset::kCellI));
  location.j = static_cast<std::int64_t>(worker::getU64(bytes + PointResultOffset::kCellJ));
  location.key = worker::getU64(bytes + PointResultOffset::kCellKey);
  location.tag = worker::getU32(bytes + PointResultOffset::kTag);
  return location;
}

}  // namespace lisp_worker::client
