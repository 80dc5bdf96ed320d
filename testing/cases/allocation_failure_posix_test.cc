// Conversations in which the system gives no more memory: for every n, a worker whose
// n-th allocation fails. It must have answered rightly so far, leave with the exit code for it, and
// say nothing more.

#include <gtest/gtest.h>
#include <sys/resource.h>

#include <algorithm>
#include <cstddef>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "lisp_worker/worker/exit_code.h"
#include "testing/base/same_bytes.h"
#include "testing/base/test_environment.h"
#include "testing/formats/document_examples.h"
#include "testing/formats/program_file.h"
#include "testing/formats/reference_conversation.h"
#include "testing/formats/scenario.h"
#include "testing/wire/frame_makers.h"
#include "testing/wire/wire_frames.h"
#include "testing/workers/child_process.h"
#include "testing/workers/real_worker.h"
#include "testing/workers/watched_worker.h"

namespace lisp_worker::testing_support {
namespace {

const std::string kOutOfMemory =
    "exit code " + std::to_string(static_cast<int>(worker::ExitCode::OutOfMemory));

// A conversation as bytes, with the right answers.
struct Recorded {
  std::string name;
  std::string input;
  std::string output;
};

// Notes the requests that pass through it.
class RecordingPort final : public FramePort {
 public:
  FrameResponse handle(const Frame& frame) override {
    worker::MessageHeader header = requestHeader(frame.type);
    header.context_id = frame.context_id;
    header.run_id = frame.run_id;
    input_ += frameBytes(header, frame.payload);
    return worker_.handle(frame);
  }
  [[nodiscard]] const std::string& input() const { return input_; }

 private:
  RealWorker worker_;
  std::string input_;
};

// Those of testing/programs/ that fit into a pipe, and the reference conversation.
std::vector<Recorded> conversations() {
  constexpr std::size_t kInputSizeMax = 50000;
  std::vector<Recorded> all = {
      {"reference", referenceConversation().input(), referenceConversation().output()}};
  for (const auto& entry :
       std::filesystem::recursive_directory_iterator(sourceDirectory() / "testing" / "programs")) {
    if (entry.path().extension() != ".lsp") continue;
    std::ifstream file(entry.path(), std::ios::binary);
    const std::string text(std::istreambuf_iterator<char>(file), {});
    RecordingPort port;
    EXPECT_TRUE(runProgramFile(parseProgramFile(text), port).empty()) << entry.path();
    if (port.input().size() > kInputSizeMax) continue;
    all.push_back({entry.path().stem().string(), port.input(), liveInProcess(port.input()).output});
  }
  std::sort(all.begin(), all.end(),
            [](const Recorded& a, const Recorded& b) { return a.name < b.name; });
  return all;
}

// True when `output` ends where a response ends.
bool holdsWholeResponses(const std::string& output) {
  std::size_t position = 0;
  while (position + worker::kHeaderSize <= output.size()) {
    position += worker::kHeaderSize +
                worker::getU32(output.data() + position + worker::HeaderOffset::kPayloadLength);
  }
  return position == output.size();
}

// Holds `conversation` with a worker that gets `allocations_max` allocations. False when all is
// well and the worker did not need more.
bool runsOut(const Recorded& conversation, std::size_t allocations_max) {
  ChildProcess child({.environment = {"LISP_ALLOCATIONS_MAX=" + std::to_string(allocations_max)},
                      .executable = environment("LISP_FAILING_WORKER_PATH")});
  child.send(conversation.input);
  child.endInput();
  const std::string output = child.receiveAll();
  const std::string end = child.end();
  const std::string what =
      conversation.name + " with " + std::to_string(allocations_max) + " allocations";
  EXPECT_EQ(child.errors(), "") << what;
  if (end == "exit code 0") {
    EXPECT_TRUE(areSameBytes(output, conversation.output)) << what;
    return false;
  }
  EXPECT_EQ(end, kOutOfMemory) << what;
  EXPECT_TRUE(conversation.output.starts_with(output)) << what;
  EXPECT_TRUE(holdsWholeResponses(output)) << what;
  return !testing::Test::HasFailure();
}

TEST(AllocationFailure, AnywhereEndsTheWorkerWithItsCode) {
  const std::vector<Recorded> all = conversations();
  EXPECT_GE(all.size(), 50U);
  std::size_t failures = 0;
  for (const Recorded& conversation : all) {
    std::size_t n = 0;
    while (runsOut(conversation, n)) {
      ++failures;
      // Each of them takes a sanitizer's start: there, a sample has to do.
      n += isSanitized() ? 1 + n : 1;
    }
    ASSERT_FALSE(HasFailure()) << conversation.name;
    EXPECT_GT(n, 10U);
  }
  RecordProperty("failed_allocations", std::to_string(failures));
}

// Not an allocator of ours that refuses, but the system.
TEST(AllocationFailure, OfTheSystemEndsTheWorkerWithItsCode) {
  if (isSanitized()) GTEST_SKIP() << "the sanitizers need address space of their own";
  ChildProcess child;
  const auto value = [&](const std::string& program, std::size_t text_size) {
    child.send(frameBytes(requestHeader(worker::MessageType::EvalStart), program));
    return child.receive(worker::kHeaderSize + worker::kEvalResultHeaderSize + text_size);
  };
  EXPECT_EQ(value("(SETQ X nil)", 3).substr(128), "nil");
  const rlimit limit{.rlim_cur = 48 << 20, .rlim_max = 48 << 20};
  ASSERT_EQ(::prlimit(child.id(), RLIMIT_AS, &limit, nullptr), 0);
  EXPECT_EQ(value("(LIST 1 2)", 5).substr(128), "(1 2)");
  std::string response;
  int rounds = 0;
  do {
    response = value("(SETQ I 0) (WHILE (< I 25000) (SETQ X (LIST X) I (1+ I))) 1", 1);
    ++rounds;
  } while (response.ends_with("1") && rounds < 1000);
  EXPECT_EQ(response, "");
  EXPECT_GT(rounds, 5);
  EXPECT_EQ(child.end(), kOutOfMemory);
  EXPECT_EQ(child.errors(), "");
}

}  // namespace
}  // namespace lisp_worker::testing_support
