// Files of recorded sessions.
//
// With a first byte of 0 the rest of the input is a file. The records that the reader trusts,
// written again, must be as long as the file if the reader says that it is whole, and shorter
// otherwise. With any other first byte the input gives records, a place and a byte. Written and
// read they must be the same. After the byte at that place has changed, or the file is cut there,
// the reader must give the records before that place unchanged, no other ones, and say that the
// file is not whole.

#include <algorithm>
#include <cstddef>
#include <optional>
#include <string>

#include "fuzz/law.h"
#include "lisp_worker/session/session.h"

namespace {

namespace fuzz = lisp_worker::fuzz;
namespace session = lisp_worker::session;

using lisp_worker::session::FileEnd;
using lisp_worker::session::Record;
using lisp_worker::session::RecordedSession;
using lisp_worker::session::RecordKind;

void checkFile(std::string_view bytes) {
  const std::optional<RecordedSession> read = session::decodeSession(bytes, nullptr);
  if (!read) return;
  const std::string written = session::encodeSession(*read);
  // Reserved bytes of a header are not read, and only its checksum covers them.
  fuzz::require(written.size() <= bytes.size(), "a file has the bytes of its records");
  fuzz::require((read->end == FileEnd::Whole) == (written.size() == bytes.size()),
                "a whole file has nothing besides its records", read->end_text);
}

RecordedSession makeSession(fuzz::Input& input) {
  RecordedSession made;
  made.start_time = input.byte();
  for (int count = input.byte() % 8; count > 0; --count) {
    Record& record = made.records.emplace_back();
    record.time = input.byte();
    // The other kinds have bodies of a fixed form.
    record.kind = input.byte() % 2 == 0 ? RecordKind::Start : RecordKind::Broken;
    if (record.kind == RecordKind::Broken) record.body = input.text();
  }
  return made;
}

// Records, of which those from the `intact`-th on may be missing, and no others.
void checkRecords(const RecordedSession& read, const RecordedSession& made, std::size_t intact,
                  std::string_view law) {
  const std::size_t count = read.records.size();
  fuzz::require(count >= intact && count <= made.records.size(), law);
  fuzz::require(std::equal(read.records.begin(), read.records.end(), made.records.begin()), law);
}

void checkRecording(fuzz::Input& input) {
  const RecordedSession made = makeSession(input);
  std::string bytes = session::encodeSession(made);
  const std::optional<RecordedSession> read = session::decodeSession(bytes, nullptr);
  fuzz::require(read && read->end == FileEnd::Whole, "what is written can be read");
  fuzz::require(read->records == made.records, "records come back");

  const std::size_t at = (input.byte() * std::size_t{256} + input.byte()) % bytes.size();
  std::size_t intact = 0;
  std::size_t end = session::kFileHeaderSize;
  for (const Record& record : made.records) {
    end += session::kRecordHeaderSize + record.body.size();
    if (end > at) break;
    ++intact;
  }
  const std::optional<RecordedSession> cut = session::decodeSession(bytes.substr(0, at), nullptr);
  if (cut) checkRecords(*cut, made, intact, "a file that was cut tells all before the cut");
  const std::uint8_t change = input.byte();
  if (change == 0) return;
  bytes[at] = static_cast<char>(bytes[at] ^ change);
  const std::optional<RecordedSession> damaged = session::decodeSession(bytes, nullptr);
  if (!damaged) return;  // Of the file's own header.
  checkRecords(*damaged, made, intact, "a damaged file tells all before the damage");
  fuzz::require(damaged->end != FileEnd::Whole && damaged->records.size() == intact,
                "every byte is covered by a checksum", damaged->end_text);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::Input input(data, size);
  if (input.byte() == 0) {
    checkFile(input.rest());
  } else {
    checkRecording(input);
  }
  return 0;
}
