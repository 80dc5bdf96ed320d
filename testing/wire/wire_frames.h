// Frames as bytes: requests put together, responses taken apart.

#ifndef TESTING_WIRE_WIRE_FRAMES_H_
#define TESTING_WIRE_WIRE_FRAMES_H_

#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

#include "lisp_worker/worker/frame.h"

namespace lisp_worker::testing_support {

// A valid header of that type with an empty payload; the ids are 0.
[[nodiscard]] worker::MessageHeader requestHeader(worker::MessageType type);
[[nodiscard]] worker::MessageHeader requestHeader(std::uint16_t type);

// A header alone, with any fields.
[[nodiscard]] std::string headerBytes(const worker::MessageHeader& header);

// A header with its payload_length made to fit, and the payload.
[[nodiscard]] std::string frameBytes(worker::MessageHeader header, std::string_view payload = {});

struct WireResponse {
  worker::MessageHeader header;
  std::string payload;

  [[nodiscard]] worker::WorkerStatus status() const {
    return static_cast<worker::WorkerStatus>(header.status);
  }
};

// The responses that `bytes` hold. A last one that is not whole fails the running test.
[[nodiscard]] std::vector<WireResponse> splitResponses(std::string_view bytes);

// Payloads of fixed size. The reserved bytes of each are 0xAA, since they may hold anything.
[[nodiscard]] std::string pointPayload(double x, double y, double z, std::uint8_t source,
                                       std::uint8_t target);
[[nodiscard]] std::string geometryPayload(worker::GeometryOperation operation, std::uint8_t count,
                                          std::initializer_list<double> operands);

}  // namespace lisp_worker::testing_support

#endif  // TESTING_WIRE_WIRE_FRAMES_H_
