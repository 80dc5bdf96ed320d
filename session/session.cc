// The file of a recorded session, in both directions. The reader trusts nothing: it compares the
// checksum of a record's header before it believes the size in it, and the body's before the body
// is used. It stops at the first record that is cut or damaged and says which; all before are good.

#include "lisp_worker/session/session.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <fstream>
#include <system_error>
#include <utility>

#include "client/system_text.h"
#include "session/crc32.h"

namespace lisp_worker::session {
namespace {

bool isKnown(std::uint8_t kind) {
  return kind >= static_cast<std::uint8_t>(RecordKind::Start) &&
         kind <= static_cast<std::uint8_t>(RecordKind::End);
}

// The reason why a body of this kind makes no sense although its checksum is right; or null.
const char* whyMalformed(RecordKind kind, std::string_view body) {
  switch (kind) {
    case RecordKind::Start:
      return body.empty() ? nullptr : "a start with a body";
    case RecordKind::Request:
      return body.empty() ? "a request without a byte" : nullptr;
    case RecordKind::Response:
      if (body.size() < worker::kHeaderSize ||
          worker::getU32(body.data() + worker::HeaderOffset::kPayloadLength) !=
              body.size() - worker::kHeaderSize) {
        return "a response that is no frame";
      }
      return nullptr;
    case RecordKind::Broken:
      return nullptr;
    case RecordKind::End:
      if (body.size() != kEndBodySize ||
          worker::getU8(body.data() + EndOffset::kKind) >
              static_cast<std::uint8_t>(client::WorkerExit::Kind::Unknown)) {
        return "an end that tells nothing";
      }
      return nullptr;
  }
  return "an unknown kind";
}

// Why this is no session file of ours; null when it is one.
const char* whyForeign(std::string_view bytes) {
  if (!bytes.starts_with(kFileMagic)) return "not a recorded session";
  if (bytes.size() < kFileHeaderSize) return "cut inside the header of the file";
  if (worker::getU32(bytes.data() + FileOffset::kChecksum) !=
      crc32(bytes.substr(0, FileOffset::kChecksum))) {
    return "the header of the file is damaged";
  }
  if (worker::getU16(bytes.data() + FileOffset::kVersion) != kFileVersion ||
      worker::getU16(bytes.data() + FileOffset::kHeaderSize) != kFileHeaderSize) {
    return "a recorded session of another version";
  }
  return nullptr;
}

// The bytes of a file; empty, with the reason, when it is none.
std::optional<SessionReader::Source> openSource(const std::filesystem::path& path,
                                                std::string& reason_out) {
  // Asked before it is opened: to open a pipe is to wait for its other end.
  std::error_code error;
  const std::filesystem::file_type type = std::filesystem::status(path, error).type();
  if (type == std::filesystem::file_type::directory) reason_out = "is a directory";
  if (type == std::filesystem::file_type::fifo || type == std::filesystem::file_type::socket) {
    reason_out = "is a pipe, and not a file";
  }
  if (!reason_out.empty()) return std::nullopt;
  errno = 0;
  const auto file = std::make_shared<std::ifstream>(path, std::ios::binary);
  if (!file->is_open()) {
    reason_out = "cannot be read: " + std::generic_category().message(errno);
    return std::nullopt;
  }
  return [file](char* buffer, std::size_t size) {
    file->read(buffer, static_cast<std::streamsize>(size));
    return static_cast<std::size_t>(file->gcount());
  };
}

// Everything that `reader`, which may be null, has to give.
std::optional<RecordedSession> readAll(const std::unique_ptr<SessionReader>& reader) {
  if (reader == nullptr) return std::nullopt;
  RecordedSession session;
  session.start_time = reader->startTime();
  Record record;
  while (reader->next(record)) session.records.push_back(std::move(record));
  session.end = reader->end();
  session.end_text = reader->endText();
  return session;
}

}  // namespace

std::string encodeFileHeader(std::uint64_t start_time) {
  std::string bytes(kFileHeaderSize, '\0');
  bytes.replace(FileOffset::kMagic, kFileMagic.size(), kFileMagic);
  worker::putU16(bytes.data() + FileOffset::kVersion, kFileVersion);
  worker::putU16(bytes.data() + FileOffset::kHeaderSize, kFileHeaderSize);
  worker::putU64(bytes.data() + FileOffset::kStartTime, start_time);
  worker::putU32(bytes.data() + FileOffset::kChecksum,
                 crc32(std::string_view(bytes).substr(0, FileOffset::kChecksum)));
  return bytes;
}

std::string encodeRecord(RecordKind kind, std::uint32_t number, std::uint64_t time,
                         std::string_view body) {
  std::string bytes(kRecordHeaderSize, '\0');
  bytes.reserve(kRecordHeaderSize + body.size());
  char* const header = bytes.data();
  worker::putU32(header + RecordOffset::kBodySize, static_cast<std::uint32_t>(body.size()));
  worker::putU32(header + RecordOffset::kNumber, number);
  worker::putU8(header + RecordOffset::kKind, static_cast<std::uint8_t>(kind));
  worker::putU64(header + RecordOffset::kTime, time);
  worker::putU32(header + RecordOffset::kBodyChecksum, crc32(body));
  worker::putU32(header + RecordOffset::kHeaderChecksum,
                 crc32(std::string_view(bytes).substr(0, RecordOffset::kHeaderChecksum)));
  bytes += body;
  return bytes;
}

std::string encodeSession(const RecordedSession& session) {
  std::string bytes = encodeFileHeader(session.start_time);
  std::uint32_t number = 0;
  for (const Record& record : session.records) {
    bytes += encodeRecord(record.kind, number++, record.time, record.body);
  }
  return bytes;
}

std::unique_ptr<SessionReader> SessionReader::begin(Source source, std::string* error_out) {
  std::string header(kFileHeaderSize, '\0');
  header.resize(source(header.data(), header.size()));
  if (const char* reason = whyForeign(header)) {
    if (error_out != nullptr) *error_out = reason;
    return nullptr;
  }
  const std::uint64_t start_time = worker::getU64(header.data() + FileOffset::kStartTime);
  return std::unique_ptr<SessionReader>(new SessionReader(std::move(source), start_time));
}

std::unique_ptr<SessionReader> SessionReader::open(const std::filesystem::path& path,
                                                   std::string* error_out) {
  std::string reason;
  std::unique_ptr<SessionReader> reader;
  if (std::optional<Source> source = openSource(path, reason)) {
    reader = begin(*std::move(source), &reason);
  }
  if (reader == nullptr && error_out != nullptr)
    *error_out = client::pathText(path) + ": " + reason;
  return reader;
}

bool SessionReader::next(Record& record) {
  if (is_over_) return false;
  std::array<char, kRecordHeaderSize> header{};
  const std::size_t header_size = source_(header.data(), header.size());
  if (header_size == 0) return stop(FileEnd::Whole, "");
  if (header_size < header.size()) return stop(FileEnd::Cut, "its header");
  if (worker::getU32(header.data() + RecordOffset::kHeaderChecksum) !=
      crc32({header.data(), RecordOffset::kHeaderChecksum})) {
    return stop(FileEnd::Damaged, "the checksum of its header is wrong");
  }
  const std::size_t size = worker::getU32(header.data() + RecordOffset::kBodySize);
  const std::uint8_t kind = worker::getU8(header.data() + RecordOffset::kKind);
  if (size > kBodySizeMax || !isKnown(kind) ||
      worker::getU32(header.data() + RecordOffset::kNumber) != count_) {
    return stop(FileEnd::Damaged, "it does not belong here");
  }
  record.kind = static_cast<RecordKind>(kind);
  record.time = worker::getU64(header.data() + RecordOffset::kTime);
  record.body.resize(size);
  if (size > 0 && source_(record.body.data(), size) < size) return stop(FileEnd::Cut, "its body");
  if (worker::getU32(header.data() + RecordOffset::kBodyChecksum) != crc32(record.body)) {
    return stop(FileEnd::Damaged, "the checksum of its body is wrong");
  }
  if (const char* reason = whyMalformed(record.kind, record.body)) {
    return stop(FileEnd::Damaged, reason);
  }
  position_ += kRecordHeaderSize + size;
  ++count_;
  return true;
}

// There is nothing to be had any more. False.
bool SessionReader::stop(FileEnd end, const std::string& what) {
  is_over_ = true;
  end_ = end;
  const std::string record = "record " + std::to_string(count_);
  if (end == FileEnd::Cut) end_text_ = "the file ends inside " + record + ", in " + what;
  if (end == FileEnd::Damaged) {
    end_text_ = record + ", at byte " + std::to_string(position_) + ", is damaged: " + what;
  }
  return false;
}

std::optional<RecordedSession> decodeSession(std::string_view bytes, std::string* error_out) {
  return readAll(SessionReader::begin(
      [bytes](char* buffer, std::size_t size) mutable {
        size = std::min(size, bytes.size());
        bytes.copy(buffer, size);
        bytes.remove_prefix(size);
        return size;
      },
      error_out));
}

std::optional<RecordedSession> readSession(const std::filesystem::path& path,
                                           std::string* error_out) {
  return readAll(SessionReader::open(path, error_out));
}

std::string encodeEnd(const client::WorkerExit& exit) {
  std::string body(kEndBodySize, '\0');
  worker::putU8(body.data() + EndOffset::kKind, static_cast<std::uint8_t>(exit.kind));
  worker::putU32(body.data() + EndOffset::kCode, exit.code);
  return body;
}

client::WorkerExit decodeEnd(std::string_view body) {
  return {static_cast<client::WorkerExit::Kind>(worker::getU8(body.data() + EndOffset::kKind)),
          worker::getU32(body.data() + EndOffset::kCode)};
}

}  // namespace lisp_worker::session
