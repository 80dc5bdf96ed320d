#include "session/frame_splitter.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "testing/wire/wire_frames.h"

namespace lisp_worker::session {
namespace {

using testing_support::frameBytes;
using testing_support::requestHeader;
using worker::MessageType;

std::vector<std::string> split(FrameSplitter& splitter, std::string_view bytes,
                               std::size_t piece_size) {
  std::vector<std::string> frames;
  while (!bytes.empty()) {
    splitter.feed(bytes.substr(0, piece_size),
                  [&](std::string_view frame) { frames.emplace_back(frame); });
    bytes.remove_prefix(std::min(piece_size, bytes.size()));
  }
  return frames;
}

TEST(FrameSplitter, FindsFramesInPiecesOfAnySize) {
  const std::vector<std::string> frames = {
      frameBytes(requestHeader(MessageType::Ping)),
      frameBytes(requestHeader(MessageType::EvalStart), "(+ 1 2)"),
      frameBytes(requestHeader(MessageType::EvalStart), std::string(300, ' ')),
      frameBytes(requestHeader(MessageType::Shutdown))};
  std::string bytes;
  for (const std::string& frame : frames) bytes += frame;
  for (std::size_t size = 1; size <= bytes.size(); ++size) {
    FrameSplitter splitter;
    EXPECT_EQ(split(splitter, bytes, size), frames) << size;
    EXPECT_EQ(splitter.rest(), "");
    EXPECT_FALSE(splitter.isOver());
  }
}

TEST(FrameSplitter, KeepsWhatIsNotWholeYet) {
  FrameSplitter splitter;
  const std::string frame = frameBytes(requestHeader(MessageType::EvalStart), "(+ 1 2)");
  EXPECT_TRUE(split(splitter, frame.substr(0, 70), 70).empty());
  EXPECT_EQ(splitter.rest(), frame.substr(0, 70));
  EXPECT_EQ(split(splitter, frame.substr(70), 9), std::vector{frame});
}

TEST(FrameSplitter, StopsAtAHeaderThatEndsTheWorker) {
  worker::MessageHeader magic = requestHeader(MessageType::Ping);
  magic.magic = 1;
  worker::MessageHeader version = requestHeader(MessageType::Ping);
  version.version = 2;
  worker::MessageHeader length = requestHeader(MessageType::Ping);
  length.payload_length = worker::kPayloadSizeMax + 1;
  for (const worker::MessageHeader& header : {magic, version, length}) {
    const std::string bytes = testing_support::headerBytes(header);
    for (const std::size_t piece : {1, 64, 1000}) {
      FrameSplitter splitter;
      EXPECT_EQ(split(splitter, bytes + "whatever follows", piece), std::vector{bytes});
      EXPECT_TRUE(splitter.isOver());
    }
  }
}

TEST(FrameSplitter, TakesTheLongestFrame) {
  FrameSplitter splitter;
  const std::string frame =
      frameBytes(requestHeader(MessageType::EvalStart), std::string(worker::kPayloadSizeMax, ' '));
  EXPECT_EQ(split(splitter, frame, 65536), std::vector{frame});
}

}  // namespace
}  // namespace lisp_worker::session
