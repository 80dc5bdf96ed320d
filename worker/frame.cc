// The header of a frame. All fields are at the offsets of HeaderOffset, which the client library
// uses too.

#include "lisp_worker/worker/frame.h"

#include <algorithm>

namespace lisp_worker::worker {

MessageHeader decodeHeader(std::span<const char, kHeaderSize> bytes) {
  const char* const field = bytes.data();
  MessageHeader header;
  header.magic = getU32(field + HeaderOffset::kMagic);
  header.version = getU16(field + HeaderOffset::kVersion);
  header.type = getU16(field + HeaderOffset::kType);
  header.payload_length = getU32(field + HeaderOffset::kPayloadLength);
  header.status = getU32(field + HeaderOffset::kStatus);
  header.request_id = getU64(field + HeaderOffset::kRequestId);
  header.context_id = getU64(field + HeaderOffset::kContextId);
  header.run_id = getU64(field + HeaderOffset::kRunId);
  return header;
}

void encodeHeader(const MessageHeader& header, std::span<char, kHeaderSize> bytes) {
  char* const field = bytes.data();
  putU32(field + HeaderOffset::kMagic, header.magic);
  putU16(field + HeaderOffset::kVersion, header.version);
  putU16(field + HeaderOffset::kType, header.type);
  putU32(field + HeaderOffset::kPayloadLength, header.payload_length);
  putU32(field + HeaderOffset::kStatus, header.status);
  putU64(field + HeaderOffset::kRequestId, header.request_id);
  putU64(field + HeaderOffset::kContextId, header.context_id);
  putU64(field + HeaderOffset::kRunId, header.run_id);
  std::ranges::fill(bytes.subspan<HeaderOffset::kReserved>(), '\0');
}

WorkerStatus validateHeader(const MessageHeader& header) {
  // A host sees which check failed first: keep this order.
  if (header.magic != kMagic) return WorkerStatus::BadMagic;
  if (header.version != kProtocolVersion) return WorkerStatus::BadVersion;
  if (header.payload_length > kPayloadSizeMax) return WorkerStatus::InvalidRequest;
  return WorkerStatus::Ok;
}

MessageHeader makeResponseHeader(const MessageHeader& request) {
  MessageHeader response;
  response.magic = kMagic;
  response.version = kProtocolVersion;
  response.type = request.type;
  response.request_id = request.request_id;
  response.context_id = request.context_id;
  return response;
}

}  // namespace lisp_worker::worker
