// Payloads are filled in by offset.

#include "testing/wire/frame_makers.h"

#include <utility>

#include "lisp_worker/worker/frame.h"

namespace lisp_worker::testing_support {

using worker::ContextOffset;
using worker::MessageType;

Frame startFrame(std::string program, std::uint64_t context_id) {
  return Frame{MessageType::EvalStart, context_id, 0, std::move(program)};
}

Frame resumeFrame(std::uint64_t run_id, std::string answer) {
  return Frame{MessageType::EvalResume, 0, run_id, std::move(answer)};
}

Frame cancelFrame(std::uint64_t run_id) { return Frame{MessageType::EvalCancel, 0, run_id, ""}; }

Frame registerFrame(std::uint64_t context_id, std::string record) {
  return Frame{MessageType::RegisterContext, context_id, 0, std::move(record)};
}

std::string identityContextRecord(std::uint64_t context_id) {
  std::string record(worker::kContextPayloadSize, '\0');
  worker::putU64(record.data() + ContextOffset::kId, context_id);
  worker::putF64(record.data() + ContextOffset::kCellSize, 1.0);
  for (std::size_t i = 0; i < worker::kSystemCount; ++i) setSystem(record, i, kIdentitySystem);
  for (std::size_t i = 0; i < 6; ++i) {
    worker::putF64(record.data() + ContextOffset::kCellPlane + 8 * i, kIdentitySystem[i]);
  }
  worker::putF64(record.data() + ContextOffset::kCellZScale, 1.0);
  return record;
}

void setSystem(std::string& record, std::size_t index, const PlanarSystem& system) {
  char* bytes = record.data() + ContextOffset::kSystems + worker::kPlanarSystemSize * index;
  for (std::size_t i = 0; i < system.size(); ++i) worker::putF64(bytes + 8 * i, system[i]);
}

PlanarSystem systemOf(const std::string& record, std::size_t index) {
  const char* bytes = record.data() + ContextOffset::kSystems + worker::kPlanarSystemSize * index;
  PlanarSystem system{};
  for (std::size_t i = 0; i < system.size(); ++i) system[i] = worker::getF64(bytes + 8 * i);
  return system;
}

}  // namespace lisp_worker::testing_support
