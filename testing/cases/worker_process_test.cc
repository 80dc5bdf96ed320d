// The worker as a process: its ends, and streams that are not there. Tests that need
// one system's own means is in worker_process_posix_test.cc and worker_process_win32_test.cc.

#include "testing/workers/worker_process.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <thread>
#include <vector>

#include "lisp_worker/worker/frame.h"
#include "testing/base/response_record.h"
#include "testing/base/same_bytes.h"
#include "testing/formats/reference_conversation.h"
#include "testing/formats/scenario.h"
#include "testing/wire/wire_frames.h"
#include "testing/workers/child_process.h"

namespace lisp_worker::testing_support {
namespace {

using worker::MessageHeader;
using worker::MessageType;

// Sends `input` and the end of it while the output is read, as a shell's pipeline does.
struct Poured {
  std::string output;
  std::string end;
  std::string errors;
};

Poured pour(const std::string& input, const ChildSettings& settings = {}) {
  ChildProcess child(settings);
  std::thread host([&] {
    child.send(input);
    child.endInput();
  });
  Poured poured;
  poured.output = child.receiveAll();
  host.join();
  poured.end = child.end();
  poured.errors = child.errors();
  recordResponse(poured.output);
  recordResponse(poured.end);
  return poured;
}

// Ends of every kind.

struct EndRow {
  std::string name;
  std::string input;
  std::string end;
  std::size_t output_size;

  friend void PrintTo(const EndRow& row, std::ostream* out) { *out << row.name; }
};

class EndOfAWorker : public testing::TestWithParam<EndRow> {};

TEST_P(EndOfAWorker, IsToldByItsExitCodeAlone) {
  const Poured poured = pour(GetParam().input);
  EXPECT_EQ(poured.end, GetParam().end);
  EXPECT_EQ(poured.errors, "");
  EXPECT_EQ(poured.output.size(), GetParam().output_size);
}

TEST_P(EndOfAWorker, IsTheSameInProcess) {
  const WorkerLife life = liveInProcess(GetParam().input);
  EXPECT_EQ("exit code " + std::to_string(life.exit_code), GetParam().end);
  EXPECT_TRUE(areSameBytes(life.output, pour(GetParam().input).output));
}

MessageHeader badHeader(std::uint32_t magic, std::uint16_t version, std::uint32_t payload_length) {
  MessageHeader header = requestHeader(MessageType::Ping);
  header.magic = magic;
  header.version = version;
  header.payload_length = payload_length;
  return header;
}

std::vector<EndRow> ends() {
  const std::string ping = pingFrame();
  return {
      {"NoInput", "", "exit code 0", 0},
      {"HeaderCut", ping + ping.substr(0, 30), "exit code 0", 64},
      {"Pings", ping + ping + ping, "exit code 0", 192},
      {"Shutdown", ping + frameBytes(requestHeader(MessageType::Shutdown), "x") + ping,
       "exit code 0", 128},
      {"BadMagic", ping + headerBytes(badHeader(0, 3, 0)) + ping, "exit code 2", 128},
      {"BadVersion", headerBytes(badHeader(worker::kMagic, 4, 0)) + ping, "exit code 3", 64},
      {"PayloadTooLarge",
       headerBytes(badHeader(worker::kMagic, 3, 0x100001)) + std::string(0x100001, 'x') + ping,
       "exit code 4", 64},
      {"PayloadCut", ping + programFrame(std::string(100, ' ')).substr(0, 104), "exit code 5", 64},
      {"PayloadMissing", programFrame("1").substr(0, 64), "exit code 5", 0},
      {"EndAfterALargeResult", wordyProgramFrame(), "exit code 0", 64 + 64 + 1000002},
      {"Reference", referenceConversation().input(), "exit code 0",
       referenceConversation().output().size()},
  };
}

INSTANTIATE_TEST_SUITE_P(Rows, EndOfAWorker, testing::ValuesIn(ends()),
                         [](const auto& row) { return row.param.name; });

TEST(WorkerExecutable, SaysTheSameWhateverThePiecesThatItsInputComesIn) {
  const std::string input = referenceConversation().input();
  ChildProcess child;
  std::thread host([&] {
    for (std::size_t i = 0; i < input.size(); ++i) child.send(input.substr(i, 1));
    child.endInput();
  });
  EXPECT_TRUE(areSameBytes(child.receiveAll(), referenceConversation().output()));
  host.join();
  EXPECT_EQ(child.end(), "exit code 0");
}

// Streams that are not there.

TEST(WorkerExecutable, EndsWithoutAnInput) {
  ChildProcess child({.closes_input = true});
  EXPECT_EQ(child.receiveAll(), "");
  EXPECT_EQ(child.end(), "exit code 0");
  EXPECT_EQ(child.errors(), "");
}

TEST(WorkerExecutable, EndsWithoutInputAndOutput) {
  ChildProcess child({.closes_input = true, .closes_output = true});
  EXPECT_EQ(child.end(), "exit code 0");
  EXPECT_EQ(child.errors(), "");
}

struct NoOutputRow {
  std::string name;
  std::string input;
  std::string end;

  friend void PrintTo(const NoOutputRow& row, std::ostream* out) { *out << row.name; }
};

class WorkerWithoutOutput : public testing::TestWithParam<NoOutputRow> {};

TEST_P(WorkerWithoutOutput, EndsWithItsCode) {
  const Poured poured = pour(GetParam().input, {.closes_output = true});
  EXPECT_EQ(poured.end, GetParam().end);
  EXPECT_EQ(poured.errors, "");
}

// The reader has left before the worker writes: the same, but a signal waits for the careless.
TEST_P(WorkerWithoutOutput, EndsWithTheSameCodeWhenItsReaderHasLeft) {
  ChildProcess child;
  child.closeOutput();
  child.send(GetParam().input);
  child.endInput();
  EXPECT_EQ(child.end(), GetParam().end);
  EXPECT_EQ(child.errors(), "");
}

INSTANTIATE_TEST_SUITE_P(
    Rows, WorkerWithoutOutput,
    testing::Values(
        NoOutputRow{"NoInput", "", "exit code 0"}, NoOutputRow{"Ping", pingFrame(), "exit code 6"},
        NoOutputRow{"LargeResult", wordyProgramFrame(), "exit code 6"},
        NoOutputRow{"Shutdown", frameBytes(requestHeader(MessageType::Shutdown)), "exit code 0"},
        NoOutputRow{"BadMagic", headerBytes(badHeader(0, 3, 0)), "exit code 2"},
        NoOutputRow{"BadVersion", headerBytes(badHeader(worker::kMagic, 2, 0)), "exit code 3"},
        NoOutputRow{"PayloadTooLarge", headerBytes(badHeader(worker::kMagic, 3, 0xFFFFFFFF)),
                    "exit code 4"},
        NoOutputRow{"PayloadCut", programFrame("1").substr(0, 64), "exit code 5"}),
    [](const auto& row) { return row.param.name; });

// A reader that leaves in the middle of a response.

TEST(WorkerExecutable, TellsThatThePayloadWasLeft) {
  for (const std::size_t taken : {64U, 65U, 128U, 100000U, 900000U}) {
    ChildProcess child;
    child.send(wordyProgramFrame());
    EXPECT_EQ(child.receive(taken).size(), taken);
    child.closeOutput();
    EXPECT_EQ(child.end(), "exit code 7") << taken;
    EXPECT_EQ(child.errors(), "");
  }
}

// Things of its process that the worker does not touch.

TEST(WorkerExecutable, IgnoresArguments) {
  const std::string input = pingFrame() + programFrame("(+ 1 2)");
  const Poured plain = pour(input);
  for (const std::vector<std::string>& arguments :
       {std::vector<std::string>{"--help"}, {"--version", "-v"}, {"/etc/passwd"}, {""}, {"\xFF"}}) {
    const Poured poured = pour(input, {.arguments = arguments});
    EXPECT_EQ(poured.output, plain.output) << arguments[0];
    EXPECT_EQ(poured.end, "exit code 0") << arguments[0];
    EXPECT_EQ(poured.errors, "") << arguments[0];
  }
}

}  // namespace
}  // namespace lisp_worker::testing_support
