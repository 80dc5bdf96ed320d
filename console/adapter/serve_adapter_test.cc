// The adapter over bytes: messages in pieces, bytes that are none, clients that leave.

#include "console/adapter/serve_adapter.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <string>
#include <string_view>
#include <utility>

#include "console/adapter/adapter_channel.h"
#include "console/base_protocol.h"
#include "console/json_parts.h"
#include "testing/workers/in_process_worker.h"

namespace lisp_worker::console {
namespace {

using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

// A client that has sent all it will, and takes so many bytes.
class ScriptedChannel : public AdapterChannel {
 public:
  ScriptedChannel(std::string input, std::size_t piece, std::size_t taken_max = 1 << 20)
      : input_(std::move(input)), piece_(piece), taken_max_(taken_max) {}

  std::size_t read(char* buffer, std::size_t size) override {
    const std::size_t count = std::min({size, piece_, input_.size() - at_});
    input_.copy(buffer, count, at_);
    at_ += count;
    return count;
  }
  bool hasInput() override { return true; }
  bool write(std::string_view bytes) override {
    output += bytes;
    return output.size() <= taken_max_;
  }

  std::string output;

 private:
  std::string input_;
  std::size_t piece_;
  std::size_t taken_max_;
  std::size_t at_ = 0;
};

std::string request(int seq, const char* command, const Json& arguments = Json::object()) {
  const Json message = {
      {"seq", seq}, {"type", "request"}, {"command", command}, {"arguments", arguments}};
  return framed(message.dump());
}

const std::string kHello = request(1, "initialize", {{"adapterID", "x"}});
const std::string kLaunch = request(2, "launch", {{"form", "(GETDIST)"}, {"stopAtEnd", true}});
const std::string kSilent = request(2, "launch", {{"form", "(LIST 1)"}, {"stopAtEnd", true}});
const std::string kBegin = request(3, "configurationDone");
const std::string kBye = request(4, "disconnect");

std::string serve(ScriptedChannel& channel) {
  return serveAdapter(channel, testing_support::InProcessWorker::start);
}

TEST(ServeAdapter, AnswersTheSameHoweverTheBytesArrive) {
  ScriptedChannel whole(kHello + kSilent + kBegin + kBye, 1 << 20);
  EXPECT_EQ(serve(whole), "");
  EXPECT_THAT(whole.output, HasSubstr("\"stopped\""));
  for (const std::size_t piece : {1U, 7U, 100U}) {
    ScriptedChannel pieces(kHello + kSilent + kBegin + kBye, piece);
    EXPECT_EQ(serve(pieces), "");
    EXPECT_EQ(pieces.output, whole.output);
  }
}

TEST(ServeAdapter, EndsWhenItsClientLeaves) {
  const std::string all = kHello + kLaunch + kBegin;
  for (std::size_t size = 0; size <= all.size(); size += 3) {
    ScriptedChannel channel(all.substr(0, size), 1 << 20);
    const bool is_whole = size == 0 || size == kHello.size() ||
                          size == kHello.size() + kLaunch.size() || size == all.size();
    EXPECT_EQ(serve(channel), is_whole ? "" : "the client has left in the middle of a message");
  }
}

TEST(ServeAdapter, EndsWhenItsClientTakesNoMore) {
  ScriptedChannel channel(kHello + kLaunch + kBegin + kBye, 1 << 20, 100);
  EXPECT_EQ(serve(channel), "");
  EXPECT_THAT(channel.output, Not(HasSubstr("\"stopped\"")));
}

TEST(ServeAdapter, EndsAtBytesThatAreNoMessage) {
  ScriptedChannel channel(kHello + "GET / HTTP/1.1\r\n\r\n" + kLaunch, 1 << 20);
  EXPECT_THAT(serve(channel), HasSubstr("cannot be read: a header line without a colon"));
  EXPECT_THAT(channel.output, HasSubstr("\"initialized\""));
  EXPECT_THAT(channel.output, Not(HasSubstr("\"launch\"")));
}

TEST(ServeAdapter, GivesARunUpThatIsCancelled) {
  // They may have come before the run begins, or come while it goes on.
  for (const std::string& end : {request(3, "cancel", {{"requestId", 2}}), request(3, "terminate"),
                                 request(3, "disconnect")}) {
    for (const std::size_t piece : {kHello.size() + kLaunch.size(), std::size_t{1} << 20}) {
      ScriptedChannel channel(kHello + kLaunch + end + kBye, piece);
      EXPECT_EQ(serve(channel), "");
      EXPECT_THAT(channel.output, HasSubstr("\"message\":\"cancelled\"")) << end;
    }
  }
  ScriptedChannel other(kHello + kLaunch + request(3, "cancel", {{"requestId", 1}}),
                        kHello.size() + kLaunch.size());
  EXPECT_EQ(serve(other), "");
  EXPECT_THAT(other.output, Not(HasSubstr("cancelled")));
}

}  // namespace
}  // namespace lisp_worker::console
