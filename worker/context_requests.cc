// Each request goes the same way: check the size, decode field by field, compute in geometry/,
// encode. The order of the checks is a part of the protocol: a host sees which one failed first.

#include "worker/context_requests.h"

#include <cassert>
#include <cstddef>
#include <cstdint>
#include <optional>

#include "geometry/coord_context.h"
#include "geometry/transforms.h"

namespace lisp_worker::worker {
namespace {

static_assert(kSystemCount == geometry::kSystemCount);

// The mapping that begins at `bytes`.
geometry::PlanarMapping decodeMapping(const char* bytes) {
  return {
      .origin_x = getF64(bytes + PlanarOffset::kOriginX),
      .origin_y = getF64(bytes + PlanarOffset::kOriginY),
      .a = getF64(bytes + PlanarOffset::kA),
      .b = getF64(bytes + PlanarOffset::kB),
      .c = getF64(bytes + PlanarOffset::kC),
      .d = getF64(bytes + PlanarOffset::kD),
  };
}

geometry::PlanarSystem decodeSystem(const char* bytes) {
  return {
      .plane = decodeMapping(bytes),
      .z_scale = getF64(bytes + PlanarOffset::kZScale),
      .z_offset = getF64(bytes + PlanarOffset::kZOffset),
  };
}

geometry::CoordContext decodeContext(std::string_view payload) {
  assert(payload.size() == kContextPayloadSize);
  const char* const bytes = payload.data();
  geometry::CoordContext context;
  context.id = getU64(bytes + ContextOffset::kId);
  context.cell_key_seed = getU64(bytes + ContextOffset::kCellKeySeed);
  context.tag = getU32(bytes + ContextOffset::kTag);
  context.cell_size = getF64(bytes + ContextOffset::kCellSize);
  for (std::size_t s = 0; s < kSystemCount; ++s) {
    context.systems[s] = decodeSystem(bytes + ContextOffset::kSystems + s * kPlanarSystemSize);
  }
  context.cell_plane = decodeMapping(bytes + ContextOffset::kCellPlane);
  context.cell_z_scale = getF64(bytes + ContextOffset::kCellZScale);
  context.cell_z_offset = getF64(bytes + ContextOffset::kCellZOffset);
  return context;
}

// Both results come as records of kPointResultSize bytes in which what is not set is zero.

void encodePoint(const geometry::Point& point, std::string& response) {
  response.resize(kPointResultSize);
  putF64(response.data() + PointResultOffset::kX, point.x);
  putF64(response.data() + PointResultOffset::kY, point.y);
  putF64(response.data() + PointResultOffset::kZ, point.z);
}

void encodeCell(const geometry::CellLocation& cell, std::string& response) {
  encodePoint({.x = cell.u, .y = cell.v, .z = cell.w}, response);
  char* const bytes = response.data();
  putU64(bytes + PointResultOffset::kCellI, static_cast<std::uint64_t>(cell.i));
  putU64(bytes + PointResultOffset::kCellJ, static_cast<std::uint64_t>(cell.j));
  putU64(bytes + PointResultOffset::kCellKey, cell.key);
  putU32(bytes + PointResultOffset::kTag, cell.tag);
}

// The answer to a query that ran, or tried to.
template <typename Result, typename Encode>
WorkerStatus answer(const std::optional<Result>& result, Encode encode, std::string& response) {
  if (!result.has_value()) return WorkerStatus::QueryFailed;
  encode(*result, response);
  return WorkerStatus::Ok;
}

}  // namespace

WorkerStatus handleRegisterContext(const MessageHeader& request, std::string_view payload,
                                   geometry::ContextTable& contexts) {
  if (payload.size() != kContextPayloadSize) return WorkerStatus::InvalidRequest;
  const geometry::CoordContext context = decodeContext(payload);
  if (context.id != request.context_id) return WorkerStatus::InvalidRequest;
  if (!contexts.register_context(context)) return WorkerStatus::InvalidRequest;
  return WorkerStatus::Ok;
}

WorkerStatus handlePointRequest(const MessageHeader& request, std::string_view payload,
                                const geometry::ContextTable& contexts, std::string& response) {
  if (payload.size() != kPointPayloadSize) return WorkerStatus::InvalidRequest;
  const geometry::CoordContext* const context = contexts.find_context(request.context_id);
  if (context == nullptr) return WorkerStatus::ContextNotFound;
  const char* const bytes = payload.data();
  const std::uint8_t source = getU8(bytes + PointOffset::kSourceSystem);
  const std::uint8_t target = getU8(bytes + PointOffset::kTargetSystem);
  if (source >= kSystemCount || target >= kSystemCount) return WorkerStatus::InvalidRequest;

  const geometry::Point point = {
      .x = getF64(bytes + PointOffset::kX),
      .y = getF64(bytes + PointOffset::kY),
      .z = getF64(bytes + PointOffset::kZ),
  };
  const auto type = static_cast<MessageType>(request.type);
  if (type == MessageType::LocateCell) {
    return answer(geometry::locate_cell(*context, point, source), encodeCell, response);
  }
  if (type == MessageType::CellPlaneToSystem) {
    return answer(geometry::cell_plane_to_system(*context, point, target), encodePoint, response);
  }
  assert(type == MessageType::Convert);
  return answer(geometry::convert(*context, point, source, target), encodePoint, response);
}

}  // namespace lisp_worker::worker
