// Requests as bytes, for the benchmarks that talk to a process.

#ifndef BENCH_REQUEST_FRAME_H_
#define BENCH_REQUEST_FRAME_H_

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "lisp_worker/worker/frame.h"

namespace lisp_worker::bench {

inline std::string makeFrame(worker::MessageType type, std::string_view payload,
                             std::uint64_t run_id) {
  worker::MessageHeader header;
  header.magic = worker::kMagic;
  header.version = worker::kProtocolVersion;
  header.type = static_cast<std::uint16_t>(type);
  header.payload_length = static_cast<std::uint32_t>(payload.size());
  header.run_id = run_id;
  std::string frame(worker::kHeaderSize, '\0');
  worker::encodeHeader(header, std::span<char, worker::kHeaderSize>(frame));
  return frame.append(payload);
}

}  // namespace lisp_worker::bench

#endif  // BENCH_REQUEST_FRAME_H_
