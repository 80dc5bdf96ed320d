#include "session/session.h"

#include <array>
#include <fstream>
#include <utility>

#include "session/crc32.h"

namespace session {
namespace {

bool isKnown(std::uint8_t kind) {
  return kind >= static_cast<std::uint8_t>(RecordKind::Start) &&
         kind <= static_cast<std::uint8_t>(RecordKind::End);
}

// What is wrong with a body of this kind, whose checksum is right; or null.
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
          worker::getU8(body.data()) >
              static_cast<std::uint8_t>(client::WorkerExit::Kind::Unknown)) {
        return "an end that tells nothing";
      }
      return nullptr;
  }
  return "an unknown kind";
}

// Takes the records of a file apart, one after the other.
class RecordReader {
 public:
  explicit RecordReader(std::string_view bytes) : bytes_(bytes), position_(kFileHeaderSize) {}

  void readAll(Session& session) {
    while (session.end == FileEnd::Whole && position_ < bytes_.size()) readOne(session);
  }

 private:
  void readOne(Session& session) {
    const std::string_view rest = bytes_.substr(position_);
    if (rest.size() < kRecordHeaderSize) return stop(session, FileEnd::Cut, "its header");
    const char* const header = rest.data();
    if (worker::getU32(header + RecordOffset::kHeaderChecksum) !=
        crc32(rest.substr(0, RecordOffset::kHeaderChecksum))) {
      return stop(session, FileEnd::Damaged, "the checksum of its header is wrong");
    }
    const std::size_t size = worker::getU32(header + RecordOffset::kBodySize);
    const std::uint8_t kind = worker::getU8(header + RecordOffset::kKind);
    if (size > kBodySizeMax || !isKnown(kind) ||
        worker::getU32(header + RecordOffset::kNumber) != session.records.size()) {
      return stop(session, FileEnd::Damaged, "it does not belong here");
    }
    if (rest.size() < kRecordHeaderSize + size) return stop(session, FileEnd::Cut, "its body");
    const std::string_view body = rest.substr(kRecordHeaderSize, size);
    if (worker::getU32(header + RecordOffset::kBodyChecksum) != crc32(body)) {
      return stop(session, FileEnd::Damaged, "the checksum of its body is wrong");
    }
    if (const char* reason = whyMalformed(static_cast<RecordKind>(kind), body)) {
      return stop(session, FileEnd::Damaged, reason);
    }
    session.records.push_back({static_cast<RecordKind>(kind),
                               worker::getU64(header + RecordOffset::kTime), std::string(body)});
    position_ += kRecordHeaderSize + size;
  }

  void stop(Session& session, FileEnd end, const std::string& what) const {
    const std::string record = "record " + std::to_string(session.records.size());
    session.end = end;
    session.end_text = end == FileEnd::Cut ? "the file ends inside " + record + ", in " + what
                                           : record + ", at byte " + std::to_string(position_) +
                                                 ", is damaged: " + what;
  }

  std::string_view bytes_;
  std::size_t position_;
};

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

std::string encodeSession(const Session& session) {
  std::string bytes = encodeFileHeader(session.start_time);
  std::uint32_t number = 0;
  for (const Record& record : session.records) {
    bytes += encodeRecord(record.kind, number++, record.time, record.body);
  }
  return bytes;
}

std::optional<Session> decodeSession(std::string_view bytes, std::string* error_out) {
  if (const char* reason = whyForeign(bytes)) {
    if (error_out != nullptr) *error_out = reason;
    return std::nullopt;
  }
  Session session;
  session.start_time = worker::getU64(bytes.data() + FileOffset::kStartTime);
  RecordReader(bytes).readAll(session);
  return session;
}

std::optional<Session> readSession(const std::filesystem::path& path, std::string* error_out) {
  std::ifstream file(path, std::ios::binary);
  std::string bytes;
  std::array<char, 65536> buffer{};
  const auto read_some = [&](std::size_t size) {
    file.read(buffer.data(), static_cast<std::streamsize>(size));
    bytes.append(buffer.data(), static_cast<std::size_t>(file.gcount()));
    return file.gcount() > 0;
  };
  // A file that is no session may be as long as it likes.
  const bool is_ours = read_some(kFileHeaderSize) && whyForeign(bytes) == nullptr;
  while (is_ours && read_some(buffer.size())) {
  }
  std::string reason = "cannot be read";
  std::optional<Session> session;
  if (file.is_open() && !file.bad()) session = decodeSession(bytes, &reason);
  if (!session && error_out != nullptr) *error_out = path.string() + ": " + reason;
  return session;
}

std::string encodeEnd(const client::WorkerExit& exit) {
  std::string body(kEndBodySize, '\0');
  worker::putU8(body.data(), static_cast<std::uint8_t>(exit.kind));
  worker::putU32(body.data() + 4, exit.code);
  return body;
}

client::WorkerExit decodeEnd(std::string_view body) {
  return {static_cast<client::WorkerExit::Kind>(worker::getU8(body.data())),
          worker::getU32(body.data() + 4)};
}

}  // namespace session
