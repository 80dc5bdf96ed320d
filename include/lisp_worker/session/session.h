// A recorded session: what a host and its workers have said to each other, and its file.
//
// The file is a header and records, one after the other, each with checksums of its own, so a
// file that was cut anywhere still tells everything up to its last whole record. It is only ever
// appended to. docs/SESSIONS.md has the bytes as tables.

#ifndef LISP_WORKER_SESSION_SESSION_H_
#define LISP_WORKER_SESSION_SESSION_H_

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "lisp_worker/client/process.h"
#include "lisp_worker/worker/frame.h"

namespace lisp_worker::session {

// Sizes in bytes.
inline constexpr std::size_t kFileHeaderSize = 32;
inline constexpr std::size_t kRecordHeaderSize = 28;
inline constexpr std::size_t kEndBodySize = 8;
inline constexpr std::size_t kBodySizeMax = worker::kHeaderSize + worker::kPayloadSizeMax;

inline constexpr std::string_view kFileMagic = "KLSPREC\n";
inline constexpr std::uint16_t kFileVersion = 1;

struct FileOffset {
  static constexpr std::size_t kMagic = 0;        // kFileMagic
  static constexpr std::size_t kVersion = 8;      // u16
  static constexpr std::size_t kHeaderSize = 10;  // u16, kFileHeaderSize
  static constexpr std::size_t kReserved = 12;    // 4 bytes, zero
  static constexpr std::size_t kStartTime = 16;   // u64, microseconds since 1970 in UTC
  static constexpr std::size_t kReserved2 = 24;   // 4 bytes, zero
  static constexpr std::size_t kChecksum = 28;    // u32, of the bytes before it
};

struct RecordOffset {
  static constexpr std::size_t kBodySize = 0;         // u32
  static constexpr std::size_t kNumber = 4;           // u32, 0 for the first record
  static constexpr std::size_t kKind = 8;             // u8, a RecordKind
  static constexpr std::size_t kReserved = 9;         // 3 bytes, zero
  static constexpr std::size_t kTime = 12;            // u64, microseconds since the start time
  static constexpr std::size_t kBodyChecksum = 20;    // u32, of the body
  static constexpr std::size_t kHeaderChecksum = 24;  // u32, of the bytes of the header before it
};

// The body of an End record, a client::WorkerExit.
struct EndOffset {
  static constexpr std::size_t kKind = 0;      // u8, a client::WorkerExit::Kind
  static constexpr std::size_t kReserved = 1;  // 3 bytes, zero
  static constexpr std::size_t kCode = 4;      // u32
};

static_assert(worker::fieldsFill(kFileHeaderSize,
                                 {{FileOffset::kMagic, kFileMagic.size()},
                                  {FileOffset::kVersion, sizeof(std::uint16_t)},
                                  {FileOffset::kHeaderSize, sizeof(std::uint16_t)},
                                  {FileOffset::kReserved, 4},
                                  {FileOffset::kStartTime, sizeof(std::uint64_t)},
                                  {FileOffset::kReserved2, 4},
                                  {FileOffset::kChecksum, sizeof(std::uint32_t)}}));
static_assert(worker::fieldsFill(kRecordHeaderSize,
                                 {{RecordOffset::kBodySize, sizeof(std::uint32_t)},
                                  {RecordOffset::kNumber, sizeof(std::uint32_t)},
                                  {RecordOffset::kKind, sizeof(std::uint8_t)},
                                  {RecordOffset::kReserved, 3},
                                  {RecordOffset::kTime, sizeof(std::uint64_t)},
                                  {RecordOffset::kBodyChecksum, sizeof(std::uint32_t)},
                                  {RecordOffset::kHeaderChecksum, sizeof(std::uint32_t)}}));
static_assert(worker::fieldsFill(kEndBodySize,
                                 {{EndOffset::kKind, sizeof(client::WorkerExit::kind)},
                                  {EndOffset::kReserved, 3},
                                  {EndOffset::kCode, sizeof(client::WorkerExit::code)}}));

enum class RecordKind : std::uint8_t {
  Start = 1,     // A worker has been started; no body.
  Request = 2,   // What the host sent: a frame, or as much of one as it sent before it went away.
  Response = 3,  // A frame that the worker sent.
  Broken = 4,    // What came instead of a response, possibly nothing.
  End = 5,       // The worker has ended; the body tells how.
};

struct Record {
  RecordKind kind = RecordKind::Start;
  std::uint64_t time = 0;  // Microseconds since the session's start time.
  std::string body;

  friend bool operator==(const Record&, const Record&) = default;
};

// The end of the reading of a file.
enum class FileEnd : std::uint8_t {
  Whole,    // After its last record.
  Cut,      // Inside a record, as when the recording program was ended.
  Damaged,  // At a record whose checksum or contents are wrong.
};

struct RecordedSession {
  std::uint64_t start_time = 0;  // Microseconds since 1970 in UTC.
  std::vector<Record> records;   // All before the end.
  FileEnd end = FileEnd::Whole;
  std::string end_text;  // One line on an end that is not Whole.
};

// The bytes of a file.
[[nodiscard]] std::string encodeFileHeader(std::uint64_t start_time);
[[nodiscard]] std::string encodeRecord(RecordKind kind, std::uint32_t number, std::uint64_t time,
                                       std::string_view body);
[[nodiscard]] std::string encodeSession(const RecordedSession& session);

// Records one after the other, from a file or from elsewhere.
class RecordStream {
 public:
  virtual ~RecordStream() = default;

  // Sets `record` to the next one, if there is one.
  [[nodiscard]] virtual bool next(Record& record) = 0;
};

// The records of a file, of which only one is in memory at a time.
class SessionReader final : public RecordStream {
 public:
  // Puts up to `size` further bytes into `buffer` and returns how many; fewer only at the end.
  using Source = std::function<std::size_t(char* buffer, std::size_t size)>;

  // Null when there are no bytes of a session file of this version, with the reason in `error_out`
  // unless that is null. Of what is no session only the first bytes are read.
  [[nodiscard]] static std::unique_ptr<SessionReader> begin(Source source, std::string* error_out);

  // The same for a file by its path. A pipe is none: its other end may never come.
  [[nodiscard]] static std::unique_ptr<SessionReader> open(const std::filesystem::path& path,
                                                           std::string* error_out);

  // False after the last record that can be trusted; end() and endText() then tell more.
  [[nodiscard]] bool next(Record& record) override;

  [[nodiscard]] std::uint64_t startTime() const { return start_time_; }
  [[nodiscard]] std::size_t recordCount() const { return count_; }  // Those so far.
  [[nodiscard]] FileEnd end() const { return end_; }
  [[nodiscard]] const std::string& endText() const { return end_text_; }

 private:
  SessionReader(Source source, std::uint64_t start_time)
      : source_(std::move(source)), start_time_(start_time) {}
  bool stop(FileEnd end, const std::string& what);

  Source source_;
  std::uint64_t start_time_;
  std::size_t position_ = kFileHeaderSize;
  std::size_t count_ = 0;
  bool is_over_ = false;
  FileEnd end_ = FileEnd::Whole;
  std::string end_text_;
};

// Reads as much of a file as can be trusted. Empty when it is no session file of this version at
// all, with the reason in `error_out`.
[[nodiscard]] std::optional<RecordedSession> decodeSession(std::string_view bytes,
                                                           std::string* error_out);

// The same for a file by its path.
[[nodiscard]] std::optional<RecordedSession> readSession(const std::filesystem::path& path,
                                                         std::string* error_out);

// The body of an End record.
[[nodiscard]] std::string encodeEnd(const client::WorkerExit& exit);
[[nodiscard]] client::WorkerExit decodeEnd(std::string_view body);

}  // namespace lisp_worker::session

#endif  // LISP_WORKER_SESSION_SESSION_H_
