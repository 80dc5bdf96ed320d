// Headers by encodeHeader(); responses are split by the lengths that they announce.

#include "testing/wire/wire_frames.h"

#include <gtest/gtest.h>

#include <array>
#include <span>

namespace lisp_worker::testing_support {

using worker::kHeaderSize;
using worker::MessageHeader;

MessageHeader requestHeader(worker::MessageType type) {
  return requestHeader(static_cast<std::uint16_t>(type));
}

MessageHeader requestHeader(std::uint16_t type) {
  MessageHeader header;
  header.magic = worker::kMagic;
  header.version = worker::kProtocolVersion;
  header.type = type;
  return header;
}

std::string headerBytes(const MessageHeader& header) {
  std::array<char, kHeaderSize> bytes{};
  worker::encodeHeader(header, bytes);
  return {bytes.data(), bytes.size()};
}

std::string frameBytes(MessageHeader header, std::string_view payload) {
  header.payload_length = static_cast<std::uint32_t>(payload.size());
  return headerBytes(header).append(payload);
}

std::vector<WireResponse> splitResponses(std::string_view bytes) {
  std::vector<WireResponse> responses;
  while (!bytes.empty()) {
    if (bytes.size() < kHeaderSize) {
      ADD_FAILURE() << bytes.size() << " bytes are no header";
      break;
    }
    WireResponse response;
    response.header =
        worker::decodeHeader(std::span<const char, kHeaderSize>(bytes.data(), kHeaderSize));
    bytes.remove_prefix(kHeaderSize);
    if (bytes.size() < response.header.payload_length) {
      ADD_FAILURE() << bytes.size() << " payload bytes of " << response.header.payload_length;
      break;
    }
    response.payload = bytes.substr(0, response.header.payload_length);
    bytes.remove_prefix(response.payload.size());
    responses.push_back(std::move(response));
  }
  return responses;
}

std::string pointPayload(double x, double y, double z, std::uint8_t source, std::uint8_t target) {
  std::string payload(worker::kPointPayloadSize, '\xAA');
  worker::putF64(payload.data(), x);
  worker::putF64(payload.data() + 8, y);
  worker::putF64(payload.data() + 16, z);
  worker::putU8(payload.data() + 24, source);
  worker::putU8(payload.data() + 25, target);
  return payload;
}

std::string geometryPayload(worker::GeometryOperation operation, std::uint8_t count,
                            std::initializer_list<double> operands) {
  std::string payload(worker::kGeometryPayloadSize, '\xAA');
  worker::putU8(payload.data() + worker::GeometryOffset::kOperation,
                static_cast<std::uint8_t>(operation));
  worker::putU8(payload.data() + worker::GeometryOffset::kCount, count);
  char* field = payload.data() + worker::GeometryOffset::kOperands;
  for (const double operand : operands) {
    worker::putF64(field, operand);
    field += 8;
  }
  return payload;
}

}  // namespace lisp_worker::testing_support
