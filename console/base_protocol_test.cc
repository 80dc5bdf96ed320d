// The frames of an editor's protocol: whole, in pieces, several at once, and broken.

#include "console/base_protocol.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

namespace lisp_worker::console {
namespace {

using Result = MessageReader::Result;

std::vector<std::string> messagesOf(MessageReader& reader) {
  std::vector<std::string> messages;
  std::string message;
  while (reader.next(message) == Result::Message) messages.push_back(message);
  return messages;
}

std::string whyBroken(std::string_view bytes) {
  MessageReader reader;
  reader.append(bytes);
  std::string message;
  return reader.next(message) == Result::Broken ? message : "not broken";
}

TEST(BaseProtocol, FramesWithTheNumberOfBytes) {
  EXPECT_EQ(framed("{}"), "Content-Length: 2\r\n\r\n{}");
  EXPECT_EQ(framed(""), "Content-Length: 0\r\n\r\n");
  EXPECT_EQ(framed("\xC3\xA4"), "Content-Length: 2\r\n\r\n\xC3\xA4");
}

TEST(BaseProtocol, GivesWhatWasFramed) {
  MessageReader reader;
  reader.append(framed("one") + framed("") + framed(std::string("a\0\r\n\r\nb", 7)));
  EXPECT_EQ(messagesOf(reader),
            (std::vector<std::string>{"one", "", std::string("a\0\r\n\r\nb", 7)}));
  EXPECT_FALSE(reader.isInMessage());
}

TEST(BaseProtocol, WaitsForWholeMessagesByteByByte) {
  const std::string bytes = framed("first") + framed("second");
  MessageReader reader;
  std::vector<std::string> messages;
  std::size_t whole_count = 0;  // Times that nothing was left of a message.
  for (const char byte : bytes) {
    reader.append(std::string_view(&byte, 1));
    for (std::string& message : messagesOf(reader)) messages.push_back(message);
    if (!reader.isInMessage()) ++whole_count;
  }
  EXPECT_EQ(messages, (std::vector<std::string>{"first", "second"}));
  EXPECT_EQ(whole_count, 2U);
}

TEST(BaseProtocol, TakesOtherFieldsAndAnyCaseOfLetters) {
  MessageReader reader;
  reader.append("Content-Type: text/plain\r\ncontent-LENGTH:\t3 \r\nX:\r\n\r\nabc");
  EXPECT_EQ(messagesOf(reader), std::vector<std::string>{"abc"});
}

TEST(BaseProtocol, SaysWhyAHeaderIsBroken) {
  EXPECT_EQ(whyBroken("hello\r\n\r\n"), "a header line without a colon");
  EXPECT_EQ(whyBroken("Other: 3\r\n\r\nabc"), "a header without Content-Length");
  EXPECT_EQ(whyBroken("\r\n\r\n"), "a header without Content-Length");
  EXPECT_EQ(whyBroken("Content-Length: 1\r\nContent-Length: 1\r\n\r\na"),
            "two Content-Length lines in one header");
  for (const std::string_view size : {"", "-1", "+1", "1x", "0x1", "1 2", "99999999999999999999"}) {
    EXPECT_EQ(whyBroken("Content-Length: " + std::string(size) + "\r\n\r\na"),
              "Content-Length is not a number of bytes")
        << size;
  }
}

TEST(BaseProtocol, BoundsTheHeader) {
  const std::string_view length = "Content-Length: 1\r\nX: ";
  const auto headerOf = [&](std::size_t size) {
    return std::string(length) + std::string(size - length.size() - 4, 'x') + "\r\n\r\n";
  };
  for (const std::size_t size :
       {MessageReader::kHeaderBytesMax - 1, MessageReader::kHeaderBytesMax}) {
    MessageReader reader;
    reader.append(headerOf(size) + "a");
    EXPECT_EQ(messagesOf(reader), std::vector<std::string>{"a"}) << size;
  }
  EXPECT_EQ(whyBroken(headerOf(MessageReader::kHeaderBytesMax + 1) + "a"),
            "a header of more than 4096 bytes");
  EXPECT_EQ(whyBroken(std::string(MessageReader::kHeaderBytesMax, 'x')), "not broken");
  EXPECT_EQ(whyBroken(std::string(MessageReader::kHeaderBytesMax + 1, 'x')),
            "a header of more than 4096 bytes");
}

TEST(BaseProtocol, BoundsTheMessage) {
  const std::size_t max = MessageReader::kMessageBytesMax;
  for (const std::size_t size : {max - 1, max}) {
    EXPECT_EQ(whyBroken("Content-Length: " + std::to_string(size) + "\r\n\r\n"), "not broken");
  }
  EXPECT_EQ(whyBroken("Content-Length: " + std::to_string(max + 1) + "\r\n\r\n"),
            "a message of more than 67108864 bytes");
}

TEST(BaseProtocol, StaysBroken) {
  MessageReader reader;
  reader.append(framed("one") + "nonsense\r\n\r\n");
  EXPECT_EQ(messagesOf(reader), std::vector<std::string>{"one"});
  reader.append(framed("two"));
  std::string message;
  EXPECT_EQ(reader.next(message), Result::Broken);
  EXPECT_EQ(message, "a header line without a colon");
}

}  // namespace
}  // namespace lisp_worker::console
