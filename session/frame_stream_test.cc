#include "session/frame_stream.h"

#include <gtest/gtest.h>

#include <string>

#include "testing/formats/reference_conversation.h"
#include "testing/wire/wire_frames.h"

namespace lisp_worker::session {
namespace {

using testing_support::frameBytes;
using testing_support::referenceConversation;
using testing_support::requestHeader;
using worker::MessageType;

std::string pingFrame() { return frameBytes(requestHeader(MessageType::Ping)); }

std::string joined(const RecordedSession& session) {
  std::string bytes;
  for (const Record& record : session.records) bytes += record.body;
  return bytes;
}

void expectKind(const RecordedSession& session, RecordKind kind) {
  for (std::size_t i = 0; i < session.records.size(); ++i) {
    EXPECT_EQ(session.records[i].kind, kind) << i;
  }
}

TEST(FrameStream, BeginsWithAHeader) {
  EXPECT_TRUE(beginsWithFrame(pingFrame()));
  EXPECT_TRUE(beginsWithFrame(pingFrame() + "x"));
  EXPECT_FALSE(beginsWithFrame(pingFrame().substr(0, 63)));
  EXPECT_FALSE(beginsWithFrame(""));
  EXPECT_FALSE(beginsWithFrame(encodeFileHeader(0) + std::string(64, '\0')));
}

TEST(FrameStream, OfAHostIsRequests) {
  const RecordedSession session = sessionOfFrames(referenceConversation().input());
  EXPECT_EQ(session.records.size(), referenceConversation().turns().size());
  EXPECT_EQ(joined(session), referenceConversation().input());
  EXPECT_EQ(session.end, FileEnd::Whole);
  expectKind(session, RecordKind::Request);
}

TEST(FrameStream, OfAWorkerIsResponses) {
  const RecordedSession session = sessionOfFrames(referenceConversation().output());
  EXPECT_EQ(session.records.size(), referenceConversation().turns().size());
  EXPECT_EQ(joined(session), referenceConversation().output());
  expectKind(session, RecordKind::Response);
}

TEST(FrameStream, ThatTellsNothingIsRequests) {
  expectKind(sessionOfFrames(pingFrame() + pingFrame()), RecordKind::Request);
}

TEST(FrameStream, TellsWhereItIsCut) {
  const std::string program = frameBytes(requestHeader(MessageType::EvalStart), "(+ 1 2)");
  for (const std::size_t size : {std::size_t{1}, std::size_t{64}, program.size() - 1}) {
    const RecordedSession session = sessionOfFrames(pingFrame() + program.substr(0, size));
    EXPECT_EQ(session.records.size(), 1U);
    EXPECT_EQ(session.end, FileEnd::Cut);
    EXPECT_EQ(session.end_text, "the stream ends inside the frame after record 0");
  }
}

}  // namespace
}  // namespace lisp_worker::session
