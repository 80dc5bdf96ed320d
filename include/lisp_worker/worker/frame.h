// The frames that a host and the worker exchange, byte for byte.
//
// A frame is a header of 64 bytes and the payload whose size the header gives. The host sends one
// request and waits for its one response; nothing is sent unasked. This file holds all that both
// sides must agree on: the fields of the header, the message types, the statuses, and the offset of
// each field of a fixed-size payload. docs/PROTOCOL.md shows the same as tables.
//
// Integers are little-endian, doubles are IEEE-754 binary64, little-endian. Fields are read and
// written byte by byte, so neither the byte order nor the record layout of the machine matters.
//
// The client library shares this file with the worker, so it includes nothing of the project.

#ifndef LISP_WORKER_WORKER_FRAME_H_
#define LISP_WORKER_WORKER_FRAME_H_

#include <bit>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <span>

namespace lisp_worker::worker {

static_assert(sizeof(double) == 8 && std::numeric_limits<double>::is_iec559,
              "doubles travel as IEEE-754 binary64");

// Sizes in bytes.
inline constexpr std::size_t kHeaderSize = 64;
inline constexpr std::uint32_t kPayloadSizeMax = 0x100000;

// The four bytes "KLSP", the first of them lowest.
inline constexpr std::uint32_t kMagic = 0x50534C4B;
inline constexpr std::uint16_t kProtocolVersion = 3;

// The type of a request. The header carries the number as received, because a response echoes even
// an unknown one.
enum class MessageType : std::uint16_t {
  Ping = 1,
  RegisterContext = 2,
  LocateCell = 3,
  CellPlaneToSystem = 4,
  Convert = 5,
  GeometryRequest = 6,
  EvalStart = 7,
  EvalResume = 8,
  EvalCancel = 9,
  Shutdown = 255,
};

// The result of a request. When the header itself is at fault, BadMagic, BadVersion or BadRequest,
// the worker ends.
enum class WorkerStatus : std::uint32_t {
  Ok = 0,
  BadMagic = 1,
  BadVersion = 2,
  // The protocol's BadRequest, which is a macro of X11: a size, selector, operand, run id or result
  // outside its limits.
  InvalidRequest = 3,
  ContextNotFound = 4,  // No coordinate context is registered under the id.
  QueryFailed = 5,      // A transform gave no result.
  UnknownType = 6,      // An unknown message type or geometric operation.
  Degenerate = 7,       // A geometric operation without a finite result.
  EvalParseError = 8,   // Program text or a host's answer could not be read.
  EvalFailed = 9,
  EvalStepLimit = 10,
  HostCallPending = 11,  // Not a failure: the run waits for the host's answer.
};

// The header of a frame, in either direction. Default: all zero.
struct MessageHeader {
  std::uint32_t magic = 0;
  std::uint16_t version = 0;
  std::uint16_t type = 0;            // A MessageType, or any number that a host may send.
  std::uint32_t payload_length = 0;  // Bytes after the header.
  std::uint32_t status = 0;          // A WorkerStatus in a response; reserved in a request.
  std::uint64_t request_id = 0;      // The host's own; echoed.
  std::uint64_t context_id = 0;      // Names a coordinate context; echoed.
  std::uint64_t run_id = 0;          // Names a pending run in a request; 0 in a response.
};

// Offsets of a header's fields. The bytes after the last field are reserved: zero in a
// response, not looked at in a request.
struct HeaderOffset {
  static constexpr std::size_t kMagic = 0;
  static constexpr std::size_t kVersion = 4;
  static constexpr std::size_t kType = 6;
  static constexpr std::size_t kPayloadLength = 8;
  static constexpr std::size_t kStatus = 12;
  static constexpr std::size_t kRequestId = 16;
  static constexpr std::size_t kContextId = 24;
  static constexpr std::size_t kRunId = 32;
  static constexpr std::size_t kReserved = 40;
};

static_assert(HeaderOffset::kVersion == HeaderOffset::kMagic + sizeof(MessageHeader::magic));
static_assert(HeaderOffset::kType == HeaderOffset::kVersion + sizeof(MessageHeader::version));
static_assert(HeaderOffset::kPayloadLength == HeaderOffset::kType + sizeof(MessageHeader::type));
static_assert(HeaderOffset::kStatus ==
              HeaderOffset::kPayloadLength + sizeof(MessageHeader::payload_length));
static_assert(HeaderOffset::kRequestId == HeaderOffset::kStatus + sizeof(MessageHeader::status));
static_assert(HeaderOffset::kContextId ==
              HeaderOffset::kRequestId + sizeof(MessageHeader::request_id));
static_assert(HeaderOffset::kRunId == HeaderOffset::kContextId + sizeof(MessageHeader::context_id));
static_assert(HeaderOffset::kReserved == HeaderOffset::kRunId + sizeof(MessageHeader::run_id));
static_assert(HeaderOffset::kReserved + 24 == kHeaderSize);

// RegisterContext: the record of a coordinate context. A planar system is eight doubles (origin_x,
// origin_y, a, b, c, d, z_scale, z_offset), the cell plane the first six of them.
inline constexpr std::size_t kSystemCount = 5;
inline constexpr std::size_t kPlanarSystemSize = 64;
inline constexpr std::size_t kCellPlaneSize = 48;
inline constexpr std::size_t kContextPayloadSize = 416;

struct ContextOffset {
  static constexpr std::size_t kId = 0;             // u64, equal to the header's context_id.
  static constexpr std::size_t kCellKeySeed = 8;    // u64
  static constexpr std::size_t kTag = 16;           // u32
  static constexpr std::size_t kReserved = 20;      // 4 bytes, ignored.
  static constexpr std::size_t kCellSize = 24;      // f64
  static constexpr std::size_t kSystems = 32;       // kSystemCount planar systems.
  static constexpr std::size_t kCellPlane = 352;    // 6 f64
  static constexpr std::size_t kCellZScale = 400;   // f64
  static constexpr std::size_t kCellZOffset = 408;  // f64
};

static_assert(ContextOffset::kCellPlane ==
              ContextOffset::kSystems + kSystemCount * kPlanarSystemSize);
static_assert(ContextOffset::kCellZScale == ContextOffset::kCellPlane + kCellPlaneSize);
static_assert(ContextOffset::kCellZOffset + sizeof(double) == kContextPayloadSize);

// LocateCell, CellPlaneToSystem and Convert: one request record and one result record for all.
inline constexpr std::size_t kPointPayloadSize = 32;
inline constexpr std::size_t kPointResultSize = 64;

struct PointOffset {
  static constexpr std::size_t kX = 0;              // f64
  static constexpr std::size_t kY = 8;              // f64
  static constexpr std::size_t kZ = 16;             // f64
  static constexpr std::size_t kSourceSystem = 24;  // u8
  static constexpr std::size_t kTargetSystem = 25;  // u8; the 6 bytes after it are ignored.
};

struct PointResultOffset {
  static constexpr std::size_t kX = 0;   // f64; LocateCell: u
  static constexpr std::size_t kY = 8;   // f64; LocateCell: v
  static constexpr std::size_t kZ = 16;  // f64; LocateCell: w
  // Zero except for LocateCell.
  static constexpr std::size_t kCellI = 24;    // i64
  static constexpr std::size_t kCellJ = 32;    // i64
  static constexpr std::size_t kCellKey = 40;  // u64
  static constexpr std::size_t kTag = 48;      // u32; the 12 bytes after it are zero.
};

static_assert(PointOffset::kTargetSystem + 1 + 6 == kPointPayloadSize);
static_assert(PointResultOffset::kTag + sizeof(std::uint32_t) + 12 == kPointResultSize);

// GeometryRequest.
inline constexpr std::size_t kGeometryPayloadSize = 64;
inline constexpr std::size_t kGeometryResultSize = 64;
inline constexpr std::size_t kGeometryOperandCountMax = 7;

struct GeometryOffset {
  static constexpr std::size_t kOperation = 0;  // u8
  static constexpr std::size_t kCount = 1;      // u8; the 6 bytes after it are ignored.
  static constexpr std::size_t kOperands = 8;   // kGeometryOperandCountMax f64
};

struct GeometryResultOffset {
  static constexpr std::size_t kX = 0;  // f64
  static constexpr std::size_t kY = 8;  // f64; the 48 bytes after it are zero.
};

static_assert(GeometryOffset::kOperands + kGeometryOperandCountMax * sizeof(double) ==
              kGeometryPayloadSize);

// EvalStart and EvalResume answer with this record, followed by text_length bytes of text.
inline constexpr std::size_t kEvalResultHeaderSize = 64;
inline constexpr std::size_t kCallNameSize = 32;  // The last byte is always zero.

struct EvalResultOffset {
  static constexpr std::size_t kEvalStatus = 0;  // u8; the byte after it is zero.
  static constexpr std::size_t kArgCount = 2;    // u16
  static constexpr std::size_t kTextLength = 4;  // u32
  static constexpr std::size_t kSteps = 8;       // u64
  static constexpr std::size_t kCallName = 16;   // kCallNameSize bytes, zero-filled.
  static constexpr std::size_t kRunId = 48;      // u64
  static constexpr std::size_t kReserved = 56;   // 8 bytes, zero.
};

static_assert(EvalResultOffset::kRunId == EvalResultOffset::kCallName + kCallNameSize);
static_assert(EvalResultOffset::kReserved + 8 == kEvalResultHeaderSize);

// Headers as bytes. Every pattern of bytes decodes; validateHeader says if it makes sense. Encoding
// writes the reserved bytes as zero.
[[nodiscard]] MessageHeader decodeHeader(std::span<const char, kHeaderSize> bytes);
void encodeHeader(const MessageHeader& header, std::span<char, kHeaderSize> bytes);

// Ok, or the first of BadMagic, BadVersion, InvalidRequest (payload_length above kPayloadSizeMax)
// that applies to a request's header.
[[nodiscard]] WorkerStatus validateHeader(const MessageHeader& header);

// The response's header for a request's: type, request_id and context_id are the request's,
// status and payload_length are 0 and left for the writer of the response to fill in.
[[nodiscard]] MessageHeader makeResponseHeader(const MessageHeader& request);

// Little-endian fields of a buffer: `bytes` points at the first byte of the field, and as many
// bytes as the name says must be there. Any alignment will do. A double keeps its exact bits, a
// NaN's included.
[[nodiscard]] inline std::uint8_t getU8(const char* bytes) {
  return static_cast<std::uint8_t>(*bytes);
}

[[nodiscard]] inline std::uint16_t getU16(const char* bytes) {
  return static_cast<std::uint16_t>(getU8(bytes) | getU8(bytes + 1) << 8);
}

[[nodiscard]] inline std::uint32_t getU32(const char* bytes) {
  return getU16(bytes) | static_cast<std::uint32_t>(getU16(bytes + 2)) << 16;
}

[[nodiscard]] inline std::uint64_t getU64(const char* bytes) {
  return getU32(bytes) | static_cast<std::uint64_t>(getU32(bytes + 4)) << 32;
}

[[nodiscard]] inline double getF64(const char* bytes) {
  return std::bit_cast<double>(getU64(bytes));
}

inline void putU8(char* bytes, std::uint8_t value) { *bytes = static_cast<char>(value); }

inline void putU16(char* bytes, std::uint16_t value) {
  putU8(bytes, static_cast<std::uint8_t>(value));
  putU8(bytes + 1, static_cast<std::uint8_t>(value >> 8));
}

inline void putU32(char* bytes, std::uint32_t value) {
  putU16(bytes, static_cast<std::uint16_t>(value));
  putU16(bytes + 2, static_cast<std::uint16_t>(value >> 16));
}

inline void putU64(char* bytes, std::uint64_t value) {
  putU32(bytes, static_cast<std::uint32_t>(value));
  putU32(bytes + 4, static_cast<std::uint32_t>(value >> 32));
}

inline void putF64(char* bytes, double value) {
  putU64(bytes, std::bit_cast<std::uint64_t>(value));
}

}  // namespace lisp_worker::worker

#endif  // LISP_WORKER_WORKER_FRAME_H_
