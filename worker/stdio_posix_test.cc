// The standard streams over real pipes. The tests put pipes in the place of descriptors 0 and 1 of
// their own process, one test at a time, and put the old ones back.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstddef>
#include <cstdio>
#include <string>
#include <string_view>
#include <thread>

#include "testing/base/same_bytes.h"
#include "worker/stdio.h"

namespace lisp_worker::worker {
namespace {

using std::chrono::milliseconds;
using testing_support::areSameBytes;

// A pipe between two descriptors, either of which may be closed early.
class Pipe {
 public:
  Pipe() { EXPECT_EQ(::pipe(ends_.data()), 0); }
  ~Pipe() {
    closeReadEnd();
    closeWriteEnd();
  }
  Pipe(const Pipe&) = delete;
  Pipe& operator=(const Pipe&) = delete;

  [[nodiscard]] int readEnd() const { return ends_[0]; }
  [[nodiscard]] int writeEnd() const { return ends_[1]; }
  void closeReadEnd() { closeEnd(ends_[0]); }
  void closeWriteEnd() { closeEnd(ends_[1]); }

  // Writes all of `bytes`; `bytes` must fit into the pipe unless somebody reads.
  void put(std::string_view bytes) const {
    while (!bytes.empty()) {
      const ssize_t count = ::write(writeEnd(), bytes.data(), bytes.size());
      if (count < 0 && errno == EINTR) continue;
      ASSERT_GT(count, 0);
      bytes.remove_prefix(static_cast<std::size_t>(count));
    }
  }

  // Reads `size` bytes, or fewer when the writers close first.
  [[nodiscard]] std::string take(std::size_t size) const {
    std::string bytes(size, '\0');
    std::size_t filled = 0;
    while (filled < size) {
      const ssize_t count = ::read(readEnd(), bytes.data() + filled, size - filled);
      if (count < 0 && errno == EINTR) continue;
      if (count <= 0) break;
      filled += static_cast<std::size_t>(count);
    }
    bytes.resize(filled);
    return bytes;
  }

  // The bytes that are in the pipe now.
  [[nodiscard]] std::string takeWhatIsThere() const {
    ::fcntl(readEnd(), F_SETFL, O_NONBLOCK);
    return take(1 << 20);
  }

 private:
  static void closeEnd(int& end) {
    if (end >= 0) ::close(end);
    end = -1;
  }

  std::array<int, 2> ends_ = {-1, -1};
};

// Lets `descriptor` be a copy of `other`, or be closed, until the end of its life.
class Redirection {
 public:
  Redirection(int descriptor, int other) : descriptor_(descriptor) {
    std::fflush(stdout);
    saved_ = ::dup(descriptor);
    EXPECT_GE(saved_, 0);
    if (other == kClosed) {
      ::close(descriptor);
    } else {
      EXPECT_EQ(::dup2(other, descriptor), descriptor);
    }
  }
  ~Redirection() {
    ::dup2(saved_, descriptor_);
    ::close(saved_);
  }
  Redirection(const Redirection&) = delete;
  Redirection& operator=(const Redirection&) = delete;

  static constexpr int kClosed = -1;

 private:
  int descriptor_;
  int saved_;
};

// More than a pipe holds, and no two pages of it alike.
std::string largeBytes() {
  std::string bytes(1 << 20, '\0');
  for (std::size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<char>(i * 7 + i / 251);
  return bytes;
}

// An input pipe as descriptor 0.
class StandardInputTest : public testing::Test {
 protected:
  // The bytes that a read of `size` gives, or "failed".
  std::string read(std::size_t size) {
    std::string bytes(size, '#');
    return input_.readExact(bytes) ? bytes : "failed";
  }

  Pipe pipe_;
  Redirection redirection_{STDIN_FILENO, pipe_.readEnd()};
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
  std::string bytes;
  for (int byte = 0; byte < 256; ++byte) bytes.push_back(static_cast<char>(byte));
  pipe_.put(bytes + "\r\n\n\x1A\x04");
  EXPECT_EQ(read(256), bytes);
  EXPECT_EQ(read(5), "\r\n\n\x1A\x04");
}

TEST_F(StandardInputTest, FailsAtTheEndOfTheInput) {
  pipe_.put("abc");
  pipe_.closeWriteEnd();
  EXPECT_EQ(read(3), "abc");
  EXPECT_EQ(read(1), "failed");
}

TEST_F(StandardInputTest, FailsWhenTheInputEndsMidway) {
  pipe_.put("abc");
  pipe_.closeWriteEnd();
  EXPECT_EQ(read(4), "failed");
}

TEST_F(StandardInputTest, WaitsForAPipeThatDoesNotBlock) {
  ::fcntl(pipe_.readEnd(), F_SETFL, O_NONBLOCK);
  std::thread host([this] {
    for (const char byte : std::string_view("later")) {
      std::this_thread::sleep_for(milliseconds(2));
      pipe_.put({&byte, 1});
    }
    std::this_thread::sleep_for(milliseconds(2));
    pipe_.closeWriteEnd();
  });
  EXPECT_EQ(read(5), "later");
  EXPECT_EQ(read(1), "failed");
  host.join();
}

TEST_F(StandardInputTest, ReadsNothingWithoutTouchingTheInput) {
  pipe_.closeWriteEnd();
  EXPECT_EQ(read(0), "");
  const Redirection closed(STDIN_FILENO, Redirection::kClosed);
  EXPECT_EQ(read(0), "");
}

TEST_F(StandardInputTest, LooksForItsDescriptorAtEveryCall) {
  pipe_.put("abc");
  EXPECT_EQ(read(1), "a");
  {
    const Redirection closed(STDIN_FILENO, Redirection::kClosed);
    EXPECT_EQ(read(1), "failed");
  }
  EXPECT_EQ(read(1), "b");
  const Pipe other;
  other.put("xyz");
  const Redirection redirected(STDIN_FILENO, other.readEnd());
  EXPECT_EQ(read(1), "x");
}

TEST_F(StandardInputTest, FailsForADescriptorThatCannotBeRead) {
  const Redirection write_only(STDIN_FILENO, pipe_.writeEnd());
  EXPECT_EQ(read(1), "failed");
}

// The system refuses to wait for more descriptors than the process may have. A sanitizer opens some
// when it meets an object for the first time, so there is a read before.
TEST_F(StandardInputTest, FailsWhenItCannotWait) {
  pipe_.put("a");
  EXPECT_EQ(read(1), "a");
  ::fcntl(pipe_.readEnd(), F_SETFL, O_NONBLOCK);
  rlimit before;
  ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &before), 0);
  const rlimit none = {0, before.rlim_max};
  ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &none), 0);
  const std::string result = read(1);
  ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &before), 0);
  EXPECT_EQ(result, "failed");
}

// Signals that interrupt system calls, sent to one thread until the end of its life.
class Interruptions {
 public:
  explicit Interruptions(pthread_t thread) : thread_(thread) {
    struct sigaction action = {};
    action.sa_handler = [](int) { ++count_; };
    // No SA_RESTART: an interrupted call fails with EINTR.
    EXPECT_EQ(::sigaction(SIGUSR1, &action, &saved_), 0);
    count_ = 0;
    sender_ = std::thread([this] {
      while (!stopped_) {
        ::pthread_kill(thread_, SIGUSR1);
        std::this_thread::sleep_for(milliseconds(1));
      }
    });
  }
  ~Interruptions() {
    stopped_ = true;
    sender_.join();
    ::sigaction(SIGUSR1, &saved_, nullptr);
  }
  Interruptions(const Interruptions&) = delete;
  Interruptions& operator=(const Interruptions&) = delete;

  [[nodiscard]] static int count() { return count_; }

 private:
  static inline std::atomic<int> count_ = 0;
  pthread_t thread_;
  std::atomic<bool> stopped_ = false;
  std::thread sender_;
  struct sigaction saved_ = {};
};

TEST_F(StandardInputTest, ReadsOnAfterAnInterruption) {
  std::thread host([this] {
    for (const char byte : std::string_view("interrupted")) {
      std::this_thread::sleep_for(milliseconds(5));
      pipe_.put({&byte, 1});
    }
  });
  {
    const Interruptions interruptions(::pthread_self());
    EXPECT_EQ(read(11), "interrupted");
    EXPECT_GT(Interruptions::count(), 0);
  }
  host.join();
}

// Here it is the wait for the pipe that is interrupted, not the read.
TEST_F(StandardInputTest, WaitsOnAfterAnInterruption) {
  ::fcntl(pipe_.readEnd(), F_SETFL, O_NONBLOCK);
  std::thread host([this] {
    for (const char byte : std::string_view("interrupted")) {
      std::this_thread::sleep_for(milliseconds(5));
      pipe_.put({&byte, 1});
    }
  });
  {
    const Interruptions interruptions(::pthread_self());
    EXPECT_EQ(read(11), "interrupted");
    EXPECT_GT(Interruptions::count(), 0);
  }
  host.join();
}

// An output pipe as descriptor 1. Nothing may be printed meanwhile, so a test that can fail in its
// middle reads what it needs first and ends the redirection before it expects.
class StandardOutputTest : public testing::Test {
 protected:
  StandardOutputTest() { keepAliveOnBrokenPipe(); }

  // Fills the pipe until it takes no further byte, and leaves it blocking.
  void fillPipe() {
    ::fcntl(pipe_.writeEnd(), F_SETFL, O_NONBLOCK);
    const std::string page(4096, '#');
    while (::write(pipe_.writeEnd(), page.data(), page.size()) > 0) filled_ += page.size();
    while (::write(pipe_.writeEnd(), page.data(), 1) > 0) ++filled_;
    ::fcntl(pipe_.writeEnd(), F_SETFL, 0);
  }

  Pipe pipe_;
  std::size_t filled_ = 0;
  StandardOutput output_;
};

const std::string kHeader(64, 'h');

TEST_F(StandardOutputTest, WritesEverythingAsItIs) {
  std::string bytes;
  for (int byte = 0; byte < 256; ++byte) bytes.push_back(static_cast<char>(byte));
  bool written = false;
  {
    const Redirection redirection(STDOUT_FILENO, pipe_.writeEnd());
    written = output_.writeExact(bytes + "\n\r\n");
  }
  EXPECT_TRUE(written);
  EXPECT_EQ(pipe_.takeWhatIsThere(), bytes + "\n\r\n");
}

TEST_F(StandardOutputTest, WritesAFrameInOrder) {
  FrameWrite bare{};
  FrameWrite loaded{};
  {
    const Redirection redirection(STDOUT_FILENO, pipe_.writeEnd());
    bare = output_.writeFrame(kHeader, "");
    loaded = output_.writeFrame(kHeader, "payload");
  }
  EXPECT_EQ(bare, FrameWrite::Complete);
  EXPECT_EQ(loaded, FrameWrite::Complete);
  EXPECT_EQ(pipe_.takeWhatIsThere(), kHeader + kHeader + "payload");
}

TEST_F(StandardOutputTest, WritesMoreThanThePipeHolds) {
  const std::string payload = largeBytes();
  std::string received;
  std::thread host([&] { received = pipe_.take(2 * payload.size() + kHeader.size()); });
  bool written = false;
  FrameWrite frame{};
  {
    const Redirection redirection(STDOUT_FILENO, pipe_.writeEnd());
    written = output_.writeExact(payload);
    frame = output_.writeFrame(kHeader, payload);
  }
  host.join();
  EXPECT_TRUE(written);
  EXPECT_EQ(frame, FrameWrite::Complete);
  EXPECT_TRUE(areSameBytes(received, payload + kHeader + payload));
}

TEST_F(StandardOutputTest, WaitsForAPipeThatDoesNotBlock) {
  const std::string payload = largeBytes();
  ::fcntl(pipe_.writeEnd(), F_SETFL, O_NONBLOCK);
  std::string received;
  std::thread host([&] {
    std::this_thread::sleep_for(milliseconds(5));
    received = pipe_.take(2 * payload.size() + kHeader.size());
  });
  bool written = false;
  FrameWrite frame{};
  {
    const Redirection redirection(STDOUT_FILENO, pipe_.writeEnd());
    written = output_.writeExact(payload);
    frame = output_.writeFrame(kHeader, payload);
  }
  host.join();
  EXPECT_TRUE(written);
  EXPECT_EQ(frame, FrameWrite::Complete);
  EXPECT_TRUE(areSameBytes(received, payload + kHeader + payload));
}

// The reader goes away while the writer waits for it.
TEST_F(StandardOutputTest, FailsWhenNobodyReadsAPipeThatDoesNotBlock) {
  ::fcntl(pipe_.writeEnd(), F_SETFL, O_NONBLOCK);
  std::thread host([&] {
    std::this_thread::sleep_for(milliseconds(5));
    pipe_.closeReadEnd();
  });
  bool written = true;
  {
    const Redirection redirection(STDOUT_FILENO, pipe_.writeEnd());
    written = output_.writeExact(largeBytes());
  }
  host.join();
  EXPECT_FALSE(written);
}

TEST_F(StandardOutputTest, FailsWithoutAReaderAndLives) {
  pipe_.closeReadEnd();
  bool written = true;
  FrameWrite bare{};
  FrameWrite loaded{};
  {
    const Redirection redirection(STDOUT_FILENO, pipe_.writeEnd());
    written = output_.writeExact("x");
    bare = output_.writeFrame(kHeader, "");
    loaded = output_.writeFrame(kHeader, "payload");
  }
  EXPECT_FALSE(written);
  EXPECT_EQ(bare, FrameWrite::HeaderFailed);
  EXPECT_EQ(loaded, FrameWrite::HeaderFailed);
}

TEST_F(StandardOutputTest, LooksForItsDescriptorAtEveryCall) {
  bool written_to_closed = true;
  FrameWrite frame_to_closed{};
  bool nothing_to_closed = false;
  bool written = false;
  {
    const Redirection redirection(STDOUT_FILENO, pipe_.writeEnd());
    {
      const Redirection closed(STDOUT_FILENO, Redirection::kClosed);
      written_to_closed = output_.writeExact("lost");
      frame_to_closed = output_.writeFrame(kHeader, "lost");
      nothing_to_closed = output_.writeExact("");
    }
    written = output_.writeExact("kept");
  }
  EXPECT_FALSE(written_to_closed);
  EXPECT_EQ(frame_to_closed, FrameWrite::HeaderFailed);
  EXPECT_TRUE(nothing_to_closed);
  EXPECT_TRUE(written);
  EXPECT_EQ(pipe_.takeWhatIsThere(), "kept");
}

// The bytes of a frame that its reader takes before it leaves, and the writer's result.
// The pipe is full at first, so nothing of the frame is in it before the reader has made room; then
// the writer fills it again, and the reader leaves with the rest of the frame still to come.
struct LeavingRow {
  std::size_t bytes_taken;
  FrameWrite expected;
};

class LeavingReader : public StandardOutputTest, public testing::WithParamInterface<LeavingRow> {};

TEST_P(LeavingReader, DecidesBetweenHeaderAndPayload) {
  const std::string payload = largeBytes();
  const std::string whole = kHeader + payload;
  fillPipe();
  std::string received;
  std::thread host([&] {
    if (GetParam().bytes_taken > 0) static_cast<void>(pipe_.take(filled_));
    received = pipe_.take(GetParam().bytes_taken);
    std::this_thread::sleep_for(milliseconds(20));
    pipe_.closeReadEnd();
  });
  FrameWrite written{};
  {
    const Redirection redirection(STDOUT_FILENO, pipe_.writeEnd());
    written = output_.writeFrame(kHeader, payload);
  }
  host.join();
  EXPECT_EQ(written, GetParam().expected) << GetParam().bytes_taken << " bytes taken";
  EXPECT_EQ(received, whole.substr(0, GetParam().bytes_taken));
}

INSTANTIATE_TEST_SUITE_P(Rows, LeavingReader,
                         testing::Values(LeavingRow{0, FrameWrite::HeaderFailed},
                                         LeavingRow{64, FrameWrite::PayloadFailed},
                                         LeavingRow{65, FrameWrite::PayloadFailed},
                                         LeavingRow{100000, FrameWrite::PayloadFailed}));

// A file that may grow to a size and no further takes what fits and then fails.
TEST_F(StandardOutputTest, TellsFromTheBytesWrittenWhatFailed) {
  const std::string payload = "payload";
  const std::string whole = kHeader + payload;
  std::signal(SIGXFSZ, SIG_IGN);
  rlimit saved{};
  ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &saved), 0);
  for (std::size_t size_max = 0; size_max <= whole.size(); ++size_max) {
    std::FILE* const file = std::tmpfile();
    ASSERT_NE(file, nullptr);
    rlimit limit = saved;
    limit.rlim_cur = size_max;
    FrameWrite frame{};
    {
      const Redirection redirection(STDOUT_FILENO, ::fileno(file));
      ::setrlimit(RLIMIT_FSIZE, &limit);
      frame = output_.writeFrame(kHeader, payload);
      ::setrlimit(RLIMIT_FSIZE, &saved);
    }
    std::string written(whole.size() + 1, '#');
    written.resize(static_cast<std::size_t>(
        std::max(::pread(::fileno(file), written.data(), written.size(), 0), ssize_t{0})));
    std::fclose(file);
    EXPECT_EQ(written, whole.substr(0, size_max));
    EXPECT_EQ(frame, size_max < kHeader.size() ? FrameWrite::HeaderFailed
                     : size_max < whole.size() ? FrameWrite::PayloadFailed
                                               : FrameWrite::Complete)
        << size_max;
  }
  std::signal(SIGXFSZ, SIG_DFL);
}

TEST_F(StandardOutputTest, WritesOnAfterAnInterruption) {
  const std::string payload = largeBytes();
  fillPipe();
  std::string received;
  std::thread host([&] {
    std::this_thread::sleep_for(milliseconds(20));
    static_cast<void>(pipe_.take(filled_));
    for (std::string piece = "first"; !piece.empty();) {
      piece = pipe_.take(20000);
      received += piece;
      std::this_thread::sleep_for(milliseconds(2));
    }
  });
  FrameWrite written{};
  int count = 0;
  {
    const Redirection redirection(STDOUT_FILENO, pipe_.writeEnd());
    const Interruptions interruptions(::pthread_self());
    written = output_.writeFrame(kHeader, payload);
    count = Interruptions::count();
  }
  pipe_.closeWriteEnd();
  host.join();
  EXPECT_EQ(written, FrameWrite::Complete);
  EXPECT_GT(count, 0);
  EXPECT_TRUE(areSameBytes(received, kHeader + payload));
}

}  // namespace
}  // namespace lisp_worker::worker
