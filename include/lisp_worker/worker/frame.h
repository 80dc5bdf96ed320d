// The frames that a host and the worker exchange, byte for byte.
//
// A frame is a header of 64 bytes and the payload whose size the header gives. The host sends one
// request and waits for its one response; nothing is sent unasked. This file holds all that both
// sides must agree on: the fields of the header, the message types, the statuses, the other codes,
// and the offset of each field of a fixed-size payload. docs/PROTOCOL.md shows the same as tables,
// and a test compares the two.
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
#include <initializer_list>
#include <limits>
#include <span>

namespace lisp_worker::worker {

static_assert(sizeof(double) == 8 && std::numeric_limits<double>::is_iec559,
              "doubles travel as IEEE-754 binary64");

// A field of a record, in bytes.
struct FieldExtent {
  std::size_t offset;
  std::size_t size;
};

// True when the fields, in this order, fill a record of `record_size` bytes without a gap. Every
// record below is checked by it, so a wrong offset does not compile.
[[nodiscard]] consteval bool fieldsFill(std::size_t record_size,
                                        std::initializer_list<FieldExtent> fields) {
  std::size_t end = 0;
  for (const FieldExtent& field : fields) {
    if (field.offset != end) return false;
    end += field.size;
  }
  return end == record_size;
}

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

static_assert(fieldsFill(kHeaderSize,
                         {{HeaderOffset::kMagic, sizeof(MessageHeader::magic)},
                          {HeaderOffset::kVersion, sizeof(MessageHeader::version)},
                          {HeaderOffset::kType, sizeof(MessageHeader::type)},
                          {HeaderOffset::kPayloadLength, sizeof(MessageHeader::payload_length)},
                          {HeaderOffset::kStatus, sizeof(MessageHeader::status)},
                          {HeaderOffset::kRequestId, sizeof(MessageHeader::request_id)},
                          {HeaderOffset::kContextId, sizeof(MessageHeader::context_id)},
                          {HeaderOffset::kRunId, sizeof(MessageHeader::run_id)},
                          {HeaderOffset::kReserved, 24}}));

// RegisterContext: the record of a coordinate context. A planar system is eight doubles, the cell
// plane the first six of them.
inline constexpr std::size_t kSystemCount = 5;
inline constexpr std::size_t kPlanarSystemSize = 64;
inline constexpr std::size_t kCellPlaneSize = 48;
inline constexpr std::size_t kContextPayloadSize = 416;

struct PlanarOffset {
  static constexpr std::size_t kOriginX = 0;  // All are f64.
  static constexpr std::size_t kOriginY = 8;
  static constexpr std::size_t kA = 16;
  static constexpr std::size_t kB = 24;
  static constexpr std::size_t kC = 32;
  static constexpr std::size_t kD = 40;
  static constexpr std::size_t kZScale = 48;   // Not in the cell plane.
  static constexpr std::size_t kZOffset = 56;  // Not in the cell plane.
};

static_assert(fieldsFill(kCellPlaneSize, {{PlanarOffset::kOriginX, sizeof(double)},
                                          {PlanarOffset::kOriginY, sizeof(double)},
                                          {PlanarOffset::kA, sizeof(double)},
                                          {PlanarOffset::kB, sizeof(double)},
                                          {PlanarOffset::kC, sizeof(double)},
                                          {PlanarOffset::kD, sizeof(double)}}));
static_assert(fieldsFill(kPlanarSystemSize, {{PlanarOffset::kOriginX, kCellPlaneSize},
                                             {PlanarOffset::kZScale, sizeof(double)},
                                             {PlanarOffset::kZOffset, sizeof(double)}}));

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

static_assert(fieldsFill(kContextPayloadSize,
                         {{ContextOffset::kId, sizeof(std::uint64_t)},
                          {ContextOffset::kCellKeySeed, sizeof(std::uint64_t)},
                          {ContextOffset::kTag, sizeof(std::uint32_t)},
                          {ContextOffset::kReserved, 4},
                          {ContextOffset::kCellSize, sizeof(double)},
                          {ContextOffset::kSystems, kSystemCount* kPlanarSystemSize},
                          {ContextOffset::kCellPlane, kCellPlaneSize},
                          {ContextOffset::kCellZScale, sizeof(double)},
                          {ContextOffset::kCellZOffset, sizeof(double)}}));

// LocateCell, CellPlaneToSystem and Convert: one request record and one result record for all.
inline constexpr std::size_t kPointPayloadSize = 32;
inline constexpr std::size_t kPointResultSize = 64;

struct PointOffset {
  static constexpr std::size_t kX = 0;              // f64
  static constexpr std::size_t kY = 8;              // f64
  static constexpr std::size_t kZ = 16;             // f64
  static constexpr std::size_t kSourceSystem = 24;  // u8
  static constexpr std::size_t kTargetSystem = 25;  // u8
  static constexpr std::size_t kReserved = 26;      // 6 bytes, ignored.
};

struct PointResultOffset {
  static constexpr std::size_t kX = 0;   // f64; LocateCell: u
  static constexpr std::size_t kY = 8;   // f64; LocateCell: v
  static constexpr std::size_t kZ = 16;  // f64; LocateCell: w
  // Zero except for LocateCell.
  static constexpr std::size_t kCellI = 24;     // i64
  static constexpr std::size_t kCellJ = 32;     // i64
  static constexpr std::size_t kCellKey = 40;   // u64
  static constexpr std::size_t kTag = 48;       // u32
  static constexpr std::size_t kReserved = 52;  // 12 bytes, zero.
};

static_assert(fieldsFill(kPointPayloadSize, {{PointOffset::kX, sizeof(double)},
                                             {PointOffset::kY, sizeof(double)},
                                             {PointOffset::kZ, sizeof(double)},
                                             {PointOffset::kSourceSystem, sizeof(std::uint8_t)},
                                             {PointOffset::kTargetSystem, sizeof(std::uint8_t)},
                                             {PointOffset::kReserved, 6}}));
static_assert(fieldsFill(kPointResultSize, {{PointResultOffset::kX, sizeof(double)},
                                            {PointResultOffset::kY, sizeof(double)},
                                            {PointResultOffset::kZ, sizeof(double)},
                                            {PointResultOffset::kCellI, sizeof(std::int64_t)},
                                            {PointResultOffset::kCellJ, sizeof(std::int64_t)},
                                            {PointResultOffset::kCellKey, sizeof(std::uint64_t)},
                                            {PointResultOffset::kTag, sizeof(std::uint32_t)},
                                            {PointResultOffset::kReserved, 12}}));

// GeometryRequest.
inline constexpr std::size_t kGeometryPayloadSize = 64;
inline constexpr std::size_t kGeometryResultSize = 64;
inline constexpr std::size_t kGeometryOperandCountMax = 7;

enum class GeometryOperation : std::uint8_t {
  Sum = 1,
  Difference = 2,
  Product = 3,
  Quotient = 4,
  Distance = 5,  // x1 y1 x2 y2
  Angle = 6,     // x1 y1 x2 y2, in radians from -pi to pi
  Polar = 7,     // x y angle distance; the only one with a y in its result
};

struct GeometryOffset {
  static constexpr std::size_t kOperation = 0;  // u8, a GeometryOperation or any other number.
  static constexpr std::size_t kCount = 1;      // u8
  static constexpr std::size_t kReserved = 2;   // 6 bytes, ignored.
  static constexpr std::size_t kOperands = 8;   // kGeometryOperandCountMax f64
};

struct GeometryResultOffset {
  static constexpr std::size_t kX = 0;          // f64
  static constexpr std::size_t kY = 8;          // f64
  static constexpr std::size_t kReserved = 16;  // 48 bytes, zero.
};

static_assert(fieldsFill(kGeometryPayloadSize,
                         {{GeometryOffset::kOperation, sizeof(GeometryOperation)},
                          {GeometryOffset::kCount, sizeof(std::uint8_t)},
                          {GeometryOffset::kReserved, 6},
                          {GeometryOffset::kOperands, kGeometryOperandCountMax * sizeof(double)}}));
static_assert(fieldsFill(kGeometryResultSize, {{GeometryResultOffset::kX, sizeof(double)},
                                               {GeometryResultOffset::kY, sizeof(double)},
                                               {GeometryResultOffset::kReserved, 48}}));

// EvalStart and EvalResume answer with this record, followed by text_length bytes of text.
inline constexpr std::size_t kEvalResultHeaderSize = 64;
inline constexpr std::size_t kCallNameSize = 32;  // The last byte is always zero.

// The end of a run.
enum class EvalStatus : std::uint8_t {
  Value = 0,             // Finished; the text is the value of the last form.
  ReadError = 1,         // The program or an answer could not be read; the text says why.
  EvalError = 2,         // The text is the error message.
  StepLimit = 3,         // The text is the error message.
  HostCallRequired = 4,  // The run waits; the text is the list of the call's arguments.
};

struct EvalResultOffset {
  static constexpr std::size_t kEvalStatus = 0;  // u8, an EvalStatus.
  static constexpr std::size_t kReserved = 1;    // 1 byte, zero.
  static constexpr std::size_t kArgCount = 2;    // u16
  static constexpr std::size_t kTextLength = 4;  // u32
  static constexpr std::size_t kSteps = 8;       // u64
  static constexpr std::size_t kCallName = 16;   // kCallNameSize bytes, zero-filled.
  static constexpr std::size_t kRunId = 48;      // u64
  static constexpr std::size_t kReserved2 = 56;  // 8 bytes, zero.
};

static_assert(fieldsFill(kEvalResultHeaderSize,
                         {{EvalResultOffset::kEvalStatus, sizeof(EvalStatus)},
                          {EvalResultOffset::kReserved, 1},
                          {EvalResultOffset::kArgCount, sizeof(std::uint16_t)},
                          {EvalResultOffset::kTextLength, sizeof(std::uint32_t)},
                          {EvalResultOffset::kSteps, sizeof(std::uint64_t)},
                          {EvalResultOffset::kCallName, kCallNameSize},
                          {EvalResultOffset::kRunId, sizeof(std::uint64_t)},
                          {EvalResultOffset::kReserved2, 8}}));

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
