// Orders to the faulty worker: the fault, and when. Its host sends them in its first bytes, since a
// worker takes no arguments; after them the faulty worker is a worker like any other, until the
// fault.

#ifndef TESTING_WORKERS_FAULTY_ORDERS_H_
#define TESTING_WORKERS_FAULTY_ORDERS_H_

#include <cstddef>
#include <cstdint>
#include <string>

#include "lisp_worker/worker/frame.h"

namespace lisp_worker::testing_support {

// In which way it fails. Those of the input happen when it has read so many bytes of requests, all
// others when it has written so many bytes of responses.
enum class FaultKind : std::uint32_t {
  None = 0,
  Exit = 1,         // Ends with kFaultExitCode.
  Crash = 2,        // Is ended by the system.
  Stall = 3,        // Does nothing any more, until its host's patience ends.
  CloseOutput = 4,  // Closes its output and stalls.
  FlipByte = 5,     // Writes all bits of this byte the other way round, and goes on.
  Rubbish = 6,      // Writes letters for ever.
  InputExit = 7,
  InputStall = 8,
  CloseInput = 9,  // Closes its input and stalls.
  Dribble = 10,    // Writes a letter now and then, for ever.
};

inline constexpr int kFaultExitCode = 9;
inline constexpr std::size_t kOrdersSize = 16;

struct FaultOrders {
  FaultKind kind = FaultKind::None;
  std::uint64_t position = 0;  // In bytes, not counting the orders.
};

inline std::string encodeOrders(const FaultOrders& orders) {
  std::string bytes(kOrdersSize, '\0');
  worker::putU32(bytes.data(), static_cast<std::uint32_t>(orders.kind));
  worker::putU64(bytes.data() + 8, orders.position);
  return bytes;
}

inline FaultOrders decodeOrders(const char* bytes) {
  return {static_cast<FaultKind>(worker::getU32(bytes)), worker::getU64(bytes + 8)};
}

}  // namespace lisp_worker::testing_support

#endif  // TESTING_WORKERS_FAULTY_ORDERS_H_
