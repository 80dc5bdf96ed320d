// The standard streams over real pipes. The tests put pipes in the place of the standard handles of
// their own process, one test at a time, and put the old ones back. GoogleTest prints through the
// C runtime, which has its own copies of the handles.

#include <gtest/gtest.h>
#include <windows.h>

#include <chrono>
#include <cstddef>
#include <string>
#include <string_view>
#include <thread>

#include "testing/base/same_bytes.h"
#include "worker/stdio.h"

namespace lisp_worker::worker {
namespace {

using std::chrono::milliseconds;
using testing_support::areSameBytes;

// A pipe between two handles, either of which may be closed early.
class Pipe {
 public:
  Pipe() { EXPECT_TRUE(::CreatePipe(&read_end_, &write_end_, nullptr, 4096)); }
  ~Pipe() {
    closeReadEnd();
    closeWriteEnd();
  }
  Pipe(const Pipe&) = delete;
  Pipe& operator=(const Pipe&) = delete;

  [[nodiscard]] HANDLE readEnd() const { return read_end_; }
  [[nodiscard]] HANDLE writeEnd() const { return write_end_; }
  void closeReadEnd() { closeEnd(read_end_); }
  void closeWriteEnd() { closeEnd(write_end_); }

  void put(std::string_view bytes) const {
    while (!bytes.empty()) {
      DWORD count = 0;
      ASSERT_TRUE(
          ::WriteFile(write_end_, bytes.data(), static_cast<DWORD>(bytes.size()), &count, nullptr));
      bytes.remove_prefix(count);
    }
  }

  // Reads `size` bytes, or fewer when the writers close first.
  [[nodiscard]] std::string take(std::size_t size) const {
    std::string bytes(size, '\0');
    std::size_t filled = 0;
    while (filled < size) {
      DWORD count = 0;
      const BOOL succeeded = ::ReadFile(read_end_, bytes.data() + filled,
                                        static_cast<DWORD>(size - filled), &count, nullptr);
      if (!succeeded || count == 0) break;
      filled += count;
    }
    bytes.resize(filled);
    return bytes;
  }

  // The bytes that are in the pipe now.
  [[nodiscard]] std::string takeWhatIsThere() const {
    DWORD available = 0;
    EXPECT_TRUE(::PeekNamedPipe(read_end_, nullptr, 0, nullptr, &available, nullptr));
    return take(available);
  }

 private:
  static void closeEnd(HANDLE& end) {
    if (end != nullptr) ::CloseHandle(end);
    end = nullptr;
  }

  HANDLE read_end_ = nullptr;
  HANDLE write_end_ = nullptr;
};

// Lets a standard handle be another one until the end of its life.
class Redirection {
 public:
  Redirection(DWORD name, HANDLE handle) : name_(name), saved_(::GetStdHandle(name)) {
    EXPECT_TRUE(::SetStdHandle(name, handle));
  }
  ~Redirection() { ::SetStdHandle(name_, saved_); }
  Redirection(const Redirection&) = delete;
  Redirection& operator=(const Redirection&) = delete;

 private:
  DWORD name_;
  HANDLE saved_;
};

std::string allBytes() {
  std::string bytes;
  for (int byte = 0; byte < 256; ++byte) bytes.push_back(static_cast<char>(byte));
  return bytes + "\r\n\n\x1A\x04";
}

std::string largeBytes() {
  std::string bytes(1 << 20, '\0');
  for (std::size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<char>(i * 7 + i / 251);
  return bytes;
}

class StandardInputTest : public testing::Test {
 protected:
  // The bytes that a read of `size` gives, or "failed".
  std::string read(std::size_t size) {
    std::string bytes(size, '#');
    return input_.readExact(bytes) ? bytes : "failed";
  }

  Pipe pipe_;
  Redirection redirection_{STD_INPUT_HANDLE, pipe_.readEnd()};
  StandardInput input_;
};

TEST_F(StandardInputTest, ReadsExactlyWhatIsAskedForAndNoMore) {
  pipe_.put("abcdefgh");
  EXPECT_EQ(read(3), "abc");
  EXPECT_EQ(read(1), "d");
  EXPECT_EQ(pipe_.takeWhatIsThere(), "efgh");
}

TEST_F(StandardInputTest, WaitsForTheRestOfAShortRead) {
  std::thread host([this] {
    for (const char byte : std::string_view("slowly")) {
      pipe_.put({&byte, 1});
      std::this_thread::sleep_for(milliseconds(2));
    }
  });
  EXPECT_EQ(read(6), "slowly");
  host.join();
}

TEST_F(StandardInputTest, ReadsMoreThanThePipeHolds) {
  const std::string bytes = largeBytes();
  std::thread host([&] { pipe_.put(bytes); });
  EXPECT_TRUE(areSameBytes(read(bytes.size()), bytes));
  host.join();
}

TEST_F(StandardInputTest, PassesEveryByteUnchanged) {
  pipe_.put(allBytes());
  EXPECT_EQ(read(allBytes().size()), allBytes());
}

TEST_F(StandardInputTest, FailsWhenTheInputEnds) {
  pipe_.put("abc");
  pipe_.closeWriteEnd();
  EXPECT_EQ(read(2), "ab");
  EXPECT_EQ(read(2), "failed");
  EXPECT_EQ(read(1), "failed");
}

TEST_F(StandardInputTest, ReadsNothingWithoutAHandle) {
  const Redirection missing(STD_INPUT_HANDLE, nullptr);
  EXPECT_EQ(read(0), "");
}

TEST_F(StandardInputTest, LooksForItsHandleAtEveryCall) {
  pipe_.put("ab");
  for (const HANDLE bad : {HANDLE{nullptr}, INVALID_HANDLE_VALUE, pipe_.writeEnd()}) {
    const Redirection redirection(STD_INPUT_HANDLE, bad);
    EXPECT_EQ(read(1), "failed");
  }
  EXPECT_EQ(read(1), "a");
  const Pipe other;
  other.put("xyz");
  const Redirection redirection(STD_INPUT_HANDLE, other.readEnd());
  EXPECT_EQ(read(1), "x");
}

class StandardOutputTest : public testing::Test {
 protected:
  StandardOutputTest() { keepAliveOnBrokenPipe(); }

  Pipe pipe_;
  Redirection redirection_{STD_OUTPUT_HANDLE, pipe_.writeEnd()};
  StandardOutput output_;
};

const std::string kHeader(64, 'h');

TEST_F(StandardOutputTest, PassesEveryByteUnchanged) {
  EXPECT_TRUE(output_.writeExact(allBytes()));
  EXPECT_EQ(pipe_.takeWhatIsThere(), allBytes());
}

TEST_F(StandardOutputTest, WritesAFrameInOrder) {
  EXPECT_EQ(output_.writeFrame(kHeader, ""), FrameWrite::Complete);
  EXPECT_EQ(output_.writeFrame(kHeader, "payload"), FrameWrite::Complete);
  EXPECT_EQ(pipe_.takeWhatIsThere(), kHeader + kHeader + "payload");
}

TEST_F(StandardOutputTest, WritesMoreThanThePipeHolds) {
  const std::string payload = largeBytes();
  std::string received;
  std::thread host([&] { received = pipe_.take(kHeader.size() + payload.size()); });
  EXPECT_EQ(output_.writeFrame(kHeader, payload), FrameWrite::Complete);
  host.join();
  EXPECT_TRUE(areSameBytes(received, kHeader + payload));
}

TEST_F(StandardOutputTest, FailsWithoutAReader) {
  pipe_.closeReadEnd();
  EXPECT_FALSE(output_.writeExact("x"));
  EXPECT_EQ(output_.writeFrame(kHeader, "payload"), FrameWrite::HeaderFailed);
}

TEST_F(StandardOutputTest, TellsAPayloadThatFailedFromAHeaderThatDid) {
  std::thread host([&] {
    EXPECT_EQ(pipe_.take(kHeader.size()), kHeader);
    pipe_.closeReadEnd();
  });
  EXPECT_EQ(output_.writeFrame(kHeader, largeBytes()), FrameWrite::PayloadFailed);
  host.join();
}

TEST_F(StandardOutputTest, LooksForItsHandleAtEveryCall) {
  for (const HANDLE bad : {HANDLE{nullptr}, INVALID_HANDLE_VALUE, pipe_.readEnd()}) {
    const Redirection redirection(STD_OUTPUT_HANDLE, bad);
    EXPECT_FALSE(output_.writeExact("lost"));
    EXPECT_EQ(output_.writeFrame(kHeader, "lost"), FrameWrite::HeaderFailed);
    EXPECT_TRUE(output_.writeExact(""));
  }
  EXPECT_TRUE(output_.writeExact("kept"));
  EXPECT_EQ(pipe_.takeWhatIsThere(), "kept");
}

}  // namespace
}  // namespace lisp_worker::worker
