// Measures how evenly the worker answers: millions of frames of mixed types, the time of each.
//
//   latency_posix [frames [passes]]
//
// The worker's loop runs in this process, between two ends that cost nothing, because two processes
// would measure how the system wakes them. A frame's time is processor time from when the worker
// has its header to when it asks for the next, tidying up included. For each type of frame: how
// many there were, the median, the time that one frame in 10,000 exceeds, the worst, all in
// microseconds. What interrupts of the machine cost while a frame is answered counts, too, so short
// frames show them. The last line is the growth of the resident memory since the first tenth of the
// frames.

#include <sys/mman.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <new>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "bench/request_frame.h"
#include "lisp_worker/worker/frame.h"
#include "worker/byte_stream.h"
#include "worker/dispatch.h"
#include "worker/heap.h"
#include "worker/loop.h"

namespace bench = lisp_worker::bench;
namespace worker = lisp_worker::worker;

namespace {

using worker::MessageType;

enum class Follows : std::uint8_t { Nothing, Resume, Cancel };

struct FrameType {
  const char* name;
  MessageType type;
  std::string payload;
  Follows follows = Follows::Nothing;  // The frame that the run which waits now gets.
};

const std::vector<FrameType>& frameTypes() {
  static const std::vector<FrameType> types = {
      {"ping", MessageType::Ping, ""},
      {"ping with 1000 bytes", MessageType::Ping, std::string(1000, 'p')},
      {"unknown context", MessageType::Convert, std::string(worker::kPointPayloadSize, '\0')},
      {"sum", MessageType::EvalStart, "(+ 1 2)"},
      {"assignment", MessageType::EvalStart, "(SETQ A '(1 2 3) B (CONS 0 A))"},
      {"definition and call", MessageType::EvalStart,
       "(DEFUN F (X / Y) (SETQ Y (* X 2)) (LIST X Y)) (F 21)"},
      {"comparison", MessageType::EvalStart, "(EQUAL (LIST A B) (LIST A (CONS 0 A)))"},
      {"loop of 100 passes", MessageType::EvalStart,
       "(SETQ I 0 L '()) (WHILE (< I 100) (SETQ L (CONS I L) I (1+ I))) (LENGTH L)"},
      {"loop of 1000 passes", MessageType::EvalStart,
       "(SETQ I 0) (WHILE (< I 1000) (SETQ I (1+ I)))"},
      {"unreadable", MessageType::EvalStart, "(LIST '(1 2"},
      {"failing", MessageType::EvalStart, "(LIST (CAR 1))"},
      {"host call", MessageType::EvalStart, "(LIST (GETPOINT))", Follows::Resume},
      {"host call given up", MessageType::EvalStart, "(LIST (ENTGET))", Follows::Cancel},
  };
  return types;
}

constexpr std::array<const char*, 2> kFollowing = {"answer", "cancel"};

const char* nameOf(std::size_t type) {
  return type < frameTypes().size() ? frameTypes()[type].name
                                    : kFollowing[type - frameTypes().size()];
}

// In memory that all passes share.
struct Frame {
  float time = 1e9F;
  std::uint8_t type = 0;
};

double processorTime() {
  timespec time{};
  ::clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
  return static_cast<double>(time.tv_sec) * 1e6 + static_cast<double>(time.tv_nsec) / 1e3;
}

// Of the worker's own, without the figures, which all passes share. KiB.
long residentSize() {
  std::ifstream file("/proc/self/statm");
  long total = 0;
  long resident = 0;
  long shared = 0;
  file >> total >> resident >> shared;
  return (resident - shared) * ::sysconf(_SC_PAGESIZE) / 1024;
}

class Conversation : public worker::ByteReader, public worker::ByteWriter {
 public:
  explicit Conversation(std::span<Frame> frames) : frames_(frames) {}

  bool readExact(std::span<char> destination) override {
    if (is_in_payload_) {
      std::memcpy(destination.data(), frame_.data() + worker::kHeaderSize, destination.size());
      is_in_payload_ = false;
      return true;
    }
    if (sent_ > 0) {
      Frame& frame = frames_[sent_ - 1];
      frame.time = std::min(frame.time, static_cast<float>(processorTime() - begin_));
    }
    if (sent_ == frames_.size() / 10) size_before_ = residentSize();
    if (sent_ == frames_.size()) return false;
    next();
    frames_[sent_++].type = static_cast<std::uint8_t>(type_);
    std::memcpy(destination.data(), frame_.data(), destination.size());
    is_in_payload_ = true;
    begin_ = processorTime();
    return true;
  }

  bool writeExact(std::string_view /*bytes*/) override { return true; }

  worker::FrameWrite writeFrame(std::string_view /*header*/, std::string_view payload) override {
    run_id_ = payload.size() < worker::kEvalResultHeaderSize
                  ? 0
                  : worker::getU64(payload.data() + worker::EvalResultOffset::kRunId);
    return worker::FrameWrite::Complete;
  }

  // KiB.
  [[nodiscard]] long growth() const { return residentSize() - size_before_; }

 private:
  // The types in turn, and after a host call what it gets.
  void next() {
    const std::size_t count = frameTypes().size();
    const bool waits = run_id_ != 0 && type_ < count;
    if (waits && frameTypes()[type_].follows == Follows::Resume) {
      frame_ = bench::makeFrame(MessageType::EvalResume, "(1 2 3)", run_id_);
      type_ = count;
      return;
    }
    if (waits && frameTypes()[type_].follows == Follows::Cancel) {
      frame_ = bench::makeFrame(MessageType::EvalCancel, "", run_id_);
      type_ = count + 1;
      return;
    }
    turn_ = (turn_ + 1) % count;
    type_ = turn_;
    frame_ = bench::makeFrame(frameTypes()[type_].type, frameTypes()[type_].payload, 0);
  }

  std::span<Frame> frames_;
  std::size_t sent_ = 0;
  std::size_t turn_ = 0;
  std::size_t type_ = 0;  // Of the frame in progress.
  std::uint64_t run_id_ = 0;
  std::string frame_;
  bool is_in_payload_ = false;
  double begin_ = 0;
  long size_before_ = 0;
};

void show(std::span<const Frame> frames) {
  std::printf("%-22s %10s %10s %10s %10s\n", "frame", "count", "median", "99.99 %", "worst");
  for (std::size_t type = 0; type < frameTypes().size() + kFollowing.size(); ++type) {
    std::vector<float> times;
    for (const Frame& frame : frames) {
      if (frame.type == type) times.push_back(frame.time);
    }
    if (times.empty()) continue;
    std::sort(times.begin(), times.end());
    const std::size_t late = times.size() - 1 - times.size() / 10000;
    std::printf("%-22s %10zu %10.2f %10.2f %10.2f\n", nameOf(type), times.size(),
                static_cast<double>(times[times.size() / 2]), static_cast<double>(times[late]),
                static_cast<double>(times.back()));
  }
}

template <typename Item>
std::span<Item> shared(std::size_t count) {
  void* const memory = ::mmap(nullptr, count * sizeof(Item), PROT_READ | PROT_WRITE,
                              MAP_SHARED | MAP_ANONYMOUS | MAP_POPULATE, -1, 0);
  if (memory == MAP_FAILED) std::abort();
  const std::span<Item> items(static_cast<Item*>(memory), count);
  for (Item& item : items) new (&item) Item;
  return items;
}

}  // namespace

int main(int argc, char** argv) {
  const std::size_t count = argc > 1 ? std::strtoull(argv[1], nullptr, 10) : 1000000;
  const int passes = argc > 2 ? std::atoi(argv[2]) : 5;
  const std::span<Frame> frames = shared<Frame>(count);
  long& growth = shared<long>(1)[0];
  for (int pass = 0; pass < passes; ++pass) {
    const pid_t child = ::fork();
    if (child == 0) {
      worker::keepFreedMemory();
      Conversation conversation(frames);
      auto& dispatcher = *new worker::Dispatcher;
      static_cast<void>(worker::serve(dispatcher, conversation, conversation));
      growth = std::max(growth, conversation.growth());
      ::_exit(0);
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    if (status != 0) return EXIT_FAILURE;
  }
  show(frames);
  std::printf("growth of the resident memory: %ld KiB\n", growth);
}
