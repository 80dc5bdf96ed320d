// docs/SESSIONS.md, checked against the code: its tables and its examples.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <string>
#include <string_view>

#include "lisp_worker/session/explain.h"
#include "lisp_worker/session/session.h"
#include "testing/formats/document_examples.h"
#include "testing/workers/in_process_worker.h"

namespace lisp_worker::testing_support {
namespace {

using testing::HasSubstr;

std::string document() { return readSource("docs/SESSIONS.md"); }

// "| 8 | 2 | `version` | "
std::string fieldRow(std::size_t offset, std::size_t size, std::string_view name) {
  return "\n| " + std::to_string(offset) + " | " + std::to_string(size) + " | `" +
         std::string(name) + "` | ";
}

TEST(SessionsDocument, HasTheFieldsOfTheFile) {
  using File = session::FileOffset;
  using Record = session::RecordOffset;
  const std::string text = document();
  for (const std::string& row :
       {fieldRow(File::kMagic, session::kFileMagic.size(), "magic"),
        fieldRow(File::kVersion, 2, "version") + std::to_string(session::kFileVersion) + " |",
        fieldRow(File::kHeaderSize, 2, "header_size") + std::to_string(session::kFileHeaderSize),
        fieldRow(File::kStartTime, 8, "start_time"), fieldRow(File::kChecksum, 4, "checksum"),
        fieldRow(Record::kBodySize, 4, "body_size") + "bytes after this header, at most " +
            std::to_string(session::kBodySizeMax) + " |",
        fieldRow(Record::kNumber, 4, "number"), fieldRow(Record::kKind, 1, "kind"),
        fieldRow(Record::kTime, 8, "time"), fieldRow(Record::kBodyChecksum, 4, "body_checksum"),
        fieldRow(Record::kHeaderChecksum, 4, "header_checksum"),
        fieldRow(session::EndOffset::kKind, 1, "kind"),
        fieldRow(session::EndOffset::kCode, 4, "code"),
        "\n| " + std::to_string(session::kRecordHeaderSize) + " | | body |"}) {
    EXPECT_THAT(text, HasSubstr(row));
  }
}

TEST(SessionsDocument, FillsRecordsWithoutAGap) {
  EXPECT_THAT(recordSizesOf(document(), "The file"),
              testing::ElementsAre(session::kFileHeaderSize, session::kRecordHeaderSize,
                                   session::kEndBodySize));
}

TEST(SessionsDocument, ListsTheKindsOfRecordsAndEnds) {
  using Record = session::RecordKind;
  using End = client::WorkerExit::Kind;
  const auto row = [](auto kind, std::string_view name) {
    return "\n| " + std::to_string(static_cast<int>(kind)) + " | `" + std::string(name) + "` | ";
  };
  const std::string text = document();
  for (const std::string& expected :
       {row(Record::Start, "Start"), row(Record::Request, "Request"),
        row(Record::Response, "Response"), row(Record::Broken, "Broken"), row(Record::End, "End"),
        row(End::Exited, "Exited"), row(End::Signaled, "Signaled"), row(End::Killed, "Killed"),
        row(End::Unknown, "Unknown")}) {
    EXPECT_THAT(text, HasSubstr(expected));
  }
}

TEST(SessionsDocument, NamesEveryCause) {
  for (int cause = 0; cause <= static_cast<int>(session::Cause::OtherFrame); ++cause) {
    const auto name = std::string(causeName(static_cast<session::Cause>(cause)));
    EXPECT_THAT(document(), HasSubstr("\n| " + name + " | "));
  }
}

TEST(SessionsDocument, ShowsAnExplanationAsItIs) {
  std::string error;
  const auto recorded = session::readSession(
      sourceDirectory() / "testing/sessions/10_replay_divergence.session", &error);
  ASSERT_TRUE(recorded.has_value()) << error;
  const client::WorkerStarter starter = &InProcessWorker::start;
  const auto explanation = session::explainDivergence(*recorded, &starter);
  ASSERT_TRUE(explanation.has_value());
  EXPECT_THAT(document(), HasSubstr("```console\n" + explanation->text + "```"));
}

}  // namespace
}  // namespace lisp_worker::testing_support
