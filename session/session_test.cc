#include "lisp_worker/session/session.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "session/crc32.h"
#include "testing/workers/session_maker.h"

namespace lisp_worker::session {
namespace {

using client::WorkerExit;
using testing::HasSubstr;
using testing_support::SessionMaker;

RecordedSession someSession() {
  SessionMaker maker;
  EXPECT_TRUE(maker.worker().run("(+ 1 2)").has_value());
  EXPECT_TRUE(maker.worker().run("(GETPOINT \"To: \")").has_value());
  maker.worker().stop();
  RecordedSession session = maker.session();
  session.start_time = 1234567890;
  session.records.push_back({RecordKind::Broken, 5, "half"});
  session.records.push_back({RecordKind::End, 6, encodeEnd({WorkerExit::Kind::Signaled, 11})});
  return session;
}

TEST(Crc32, IsTheWellKnownOne) {
  EXPECT_EQ(crc32(""), 0u);
  EXPECT_EQ(crc32("123456789"), 0xCBF43926u);
  const std::string text = "The quick brown fox jumps over the lazy dog";
  EXPECT_EQ(crc32(text), 0x414FA339u);
  for (std::size_t size = 0; size <= text.size(); ++size) {
    EXPECT_EQ(crc32(text.substr(size), crc32(text.substr(0, size))), 0x414FA339u) << size;
  }
}

TEST(SessionFile, ReadsWhatWasWritten) {
  const RecordedSession session = someSession();
  std::string error;
  const auto read = decodeSession(encodeSession(session), &error);
  ASSERT_TRUE(read.has_value()) << error;
  EXPECT_EQ(read->start_time, session.start_time);
  EXPECT_EQ(read->records, session.records);
  EXPECT_EQ(read->end, FileEnd::Whole);
  EXPECT_EQ(read->end_text, "");
}

TEST(SessionFile, IsNoneWhenCutInsideItsHeader) {
  const std::string bytes = encodeSession(someSession());
  for (std::size_t size = 0; size < kFileHeaderSize; ++size) {
    std::string error;
    EXPECT_FALSE(decodeSession(std::string_view(bytes).substr(0, size), &error)) << size;
    EXPECT_EQ(error, size < kFileMagic.size() ? "not a recorded session"
                                              : "cut inside the header of the file");
  }
}

// The place behind each record that the file of `session` has, after that behind its header.
std::vector<std::size_t> recordEnds(const RecordedSession& session) {
  std::vector<std::size_t> ends = {kFileHeaderSize};
  for (const Record& record : session.records) {
    ends.push_back(ends.back() + kRecordHeaderSize + record.body.size());
  }
  return ends;
}

// The first bytes of a file yield the first records of `session`, and perhaps a cut one.
void expectBeginning(const RecordedSession& read, const RecordedSession& session,
                     std::size_t record_count, bool is_cut) {
  EXPECT_EQ(read.records.size(), record_count);
  EXPECT_TRUE(std::equal(read.records.begin(), read.records.end(), session.records.begin()));
  EXPECT_EQ(read.end, is_cut ? FileEnd::Cut : FileEnd::Whole);
  if (!is_cut) return;
  EXPECT_THAT(read.end_text, HasSubstr("the file ends inside record " +
                                       std::to_string(record_count) + ", in its "));
}

TEST(SessionFile, TellsEverythingUpToItsLastWholeRecordWhereverItIsCut) {
  const RecordedSession session = someSession();
  const std::string bytes = encodeSession(session);
  const std::vector<std::size_t> ends = recordEnds(session);
  std::size_t whole = 0;
  for (std::size_t size = kFileHeaderSize; size < bytes.size(); ++size) {
    SCOPED_TRACE(size);
    if (ends[whole + 1] == size) ++whole;
    std::string error;
    const auto read = decodeSession(std::string_view(bytes).substr(0, size), &error);
    ASSERT_TRUE(read.has_value()) << error;
    expectBeginning(*read, session, whole, ends[whole] != size);
  }
}

TEST(SessionFile, NoticesEveryFlippedBit) {
  const RecordedSession session = someSession();
  const std::string bytes = encodeSession(session);
  for (std::size_t bit = 0; bit < 8 * bytes.size(); ++bit) {
    std::string flipped = bytes;
    flipped[bit / 8] = static_cast<char>(flipped[bit / 8] ^ (1 << bit % 8));
    std::string error;
    const auto read = decodeSession(flipped, &error);
    if (bit / 8 < kFileHeaderSize) {
      EXPECT_FALSE(read.has_value()) << bit;
      EXPECT_NE(error, "") << bit;
      continue;
    }
    ASSERT_TRUE(read.has_value()) << bit;
    EXPECT_EQ(read->end, FileEnd::Damaged) << bit;
    EXPECT_LT(read->records.size(), session.records.size()) << bit;
    EXPECT_TRUE(std::equal(read->records.begin(), read->records.end(), session.records.begin()))
        << bit;
    EXPECT_THAT(read->end_text,
                HasSubstr("record " + std::to_string(read->records.size()) + ", at byte "));
  }
}

// The bytes of a header with a right checksum.
std::string headerWith(std::size_t offset, std::uint16_t value) {
  std::string header = encodeFileHeader(7);
  worker::putU16(header.data() + offset, value);
  worker::putU32(header.data() + FileOffset::kChecksum,
                 crc32(std::string_view(header).substr(0, FileOffset::kChecksum)));
  return header;
}

TEST(SessionFile, RefusesAnotherVersion) {
  std::string error;
  EXPECT_FALSE(decodeSession(headerWith(FileOffset::kVersion, 2), &error).has_value());
  EXPECT_EQ(error, "a recorded session of another version");
  EXPECT_FALSE(decodeSession(headerWith(FileOffset::kHeaderSize, 40), &error).has_value());
  EXPECT_EQ(error, "a recorded session of another version");
}

TEST(SessionFile, RefusesRecordsThatDoNotBelong) {
  struct Row {
    const char* name;
    std::string record;
    const char* reason;
  };
  const std::string frame(worker::kHeaderSize, 'x');
  const Row rows[] = {
      {"a record left out", encodeRecord(RecordKind::Start, 1, 0, ""), "it does not belong here"},
      {"unknown kind", encodeRecord(static_cast<RecordKind>(6), 0, 0, ""),
       "it does not belong here"},
      {"kind zero", encodeRecord(static_cast<RecordKind>(0), 0, 0, ""), "it does not belong here"},
      {"too long", encodeRecord(RecordKind::Broken, 0, 0, std::string(kBodySizeMax + 1, 'x')),
       "it does not belong here"},
      {"start", encodeRecord(RecordKind::Start, 0, 0, "x"), "a start with a body"},
      {"request", encodeRecord(RecordKind::Request, 0, 0, ""), "a request without a byte"},
      {"response", encodeRecord(RecordKind::Response, 0, 0, frame), "a response that is no frame"},
      {"end", encodeRecord(RecordKind::End, 0, 0, "1234567"), "an end that tells nothing"},
      {"end of no kind", encodeRecord(RecordKind::End, 0, 0, "\7aaaaaaa"),
       "an end that tells nothing"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    const auto read = decodeSession(encodeFileHeader(0) + row.record, nullptr);
    ASSERT_TRUE(read.has_value());
    EXPECT_EQ(read->end, FileEnd::Damaged);
    EXPECT_THAT(read->end_text, testing::EndsWith(row.reason));
  }
  const auto longest = decodeSession(
      encodeFileHeader(0) + encodeRecord(RecordKind::Broken, 0, 0, std::string(kBodySizeMax, 'x')),
      nullptr);
  EXPECT_EQ(longest->end, FileEnd::Whole);
}

TEST(SessionFile, TellsThatItCannotBeRead) {
  std::string error;
  EXPECT_FALSE(readSession("no/such.session", &error).has_value());
  EXPECT_EQ(error, "no/such.session: cannot be read: No such file or directory");
  EXPECT_FALSE(readSession("no/such.session", nullptr).has_value());
}

TEST(EndRecord, TellsEveryExit) {
  for (const WorkerExit exit :
       {WorkerExit{WorkerExit::Kind::Exited, 7}, WorkerExit{WorkerExit::Kind::Signaled, 11},
        WorkerExit{WorkerExit::Kind::Killed, 0}, WorkerExit{}}) {
    EXPECT_EQ(decodeEnd(encodeEnd(exit)), exit);
  }
}

}  // namespace
}  // namespace lisp_worker::session
