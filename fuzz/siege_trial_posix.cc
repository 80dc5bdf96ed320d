// The worker runs in a child; what is found is written into memory that both share.
//
// The worker asks for a header when it is done with the request before: between two such questions
// lies everything that a request costs, tidying up included. Making the requests is not measured.

#include "fuzz/siege_trial_posix.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>
#include <span>
#include <string_view>
#include <unordered_map>

#include "lisp/work.h"
#include "lisp_worker/worker/frame.h"
#include "worker/byte_stream.h"
#include "worker/dispatch.h"
#include "worker/heap.h"
#include "worker/loop.h"

namespace lisp_worker::siege {
namespace {

// A move that takes longer is cut, and so is a history: there are others to try. Microseconds.
constexpr double kMoveTimeMax = 1.2e6;
constexpr double kHistoryTimeMax = 3e6;
constexpr rlim_t kMemoryMax = rlim_t{3} << 30;       // Bytes.
constexpr double kShare = 0.1;                       // Microseconds for a step or a byte.
constexpr std::uint64_t kWorkOfAnyRequest = 150000;  // As in worker/work_law.cc.

double processorTime() {
  timespec time{};
  ::clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
  return static_cast<double>(time.tv_sec) * 1e6 + static_cast<double>(time.tv_nsec) / 1e3;
}

// In KiB.
double givenByTheSystem() {
  rusage usage{};
  ::getrusage(RUSAGE_SELF, &usage);
  return static_cast<double>(usage.ru_minflt) * 4;
}

std::uint64_t workDone() {
#ifdef LISP_COUNT_WORK
  return lisp::workDone();
#else
  return 0;
#endif
}

double statusField(std::string_view name) {
  double size = 0;
  std::FILE* const file = std::fopen("/proc/self/status", "r");
  std::array<char, 256> line{};
  while (std::fgets(line.data(), line.size(), file) != nullptr) {
    if (std::string_view(line.data()).starts_with(name)) {
      size = std::strtod(line.data() + name.size() + 1, nullptr);
    }
  }
  std::fclose(file);
  return size;
}

void resetPeak() {
  const int file = ::open("/proc/self/clear_refs", O_WRONLY);
  static_cast<void>(!::write(file, "5", 1));
  ::close(file);
}

// The words of a text that begin with a letter.
std::uint32_t countNames(std::string_view text) {
  std::uint32_t count = 0;
  char before = ' ';
  for (const char c : text) {
    const bool is_letter = 'A' <= c && c <= 'Z';
    if (is_letter && (before == ' ' || before == '(')) ++count;
    before = c;
  }
  return count;
}

// The worker's input and output at once: gives it the requests and measures them.
class Trial : public worker::ByteReader, public worker::ByteWriter {
 public:
  Trial(const History& history, std::uint32_t exact_memory_of, Findings& findings)
      : history_(history), exact_memory_of_(exact_memory_of), findings_(findings) {
    move_started_ = started_ = processorTime();
  }

  bool readExact(std::span<char> destination) override {
    if (is_in_payload_) {
      is_in_payload_ = false;
      std::memcpy(destination.data(), request_.payload.data(), destination.size());
      return true;
    }
    if (is_measuring_) end();
    if (!next()) return false;
    std::fill(destination.begin(), destination.end(), '\0');
    worker::MessageHeader header;
    header.magic = worker::kMagic;
    header.version = worker::kProtocolVersion;
    header.type = static_cast<std::uint16_t>(request_.type);
    header.payload_length = static_cast<std::uint32_t>(request_.payload.size());
    header.run_id = request_.run_id;
    worker::encodeHeader(header, destination.first<worker::kHeaderSize>());
    is_in_payload_ = true;
    begin();
    return true;
  }

  bool writeExact(std::string_view /*bytes*/) override { return true; }

  worker::FrameWrite writeFrame(std::string_view header, std::string_view payload) override {
    findings_.current.status = worker::getU32(header.data() + worker::HeaderOffset::kStatus);
    response_size_ = payload.size();
    steps_ = 0;
    run_id_ = 0;
    const bool is_evaluation = request_.type == worker::MessageType::EvalStart ||
                               request_.type == worker::MessageType::EvalResume;
    if (is_evaluation && payload.size() >= worker::kEvalResultHeaderSize) {
      steps_ = worker::getU64(payload.data() + worker::EvalResultOffset::kSteps);
      run_id_ = worker::getU64(payload.data() + worker::EvalResultOffset::kRunId);
    } else if (is_evaluation) {
      steps_ = 250000;
    }
    return worker::FrameWrite::Complete;
  }

  [[nodiscard]] double ended() const { return ended_; }

 private:
  bool next() {
    const double now = processorTime();
    if (move_ < history_.size() &&
        (repeat_ == history_[move_].repeats || now - move_started_ > kMoveTimeMax)) {
      ++move_;
      repeat_ = 0;
      move_started_ = now;
    }
    if (move_ == history_.size() || now - started_ > kHistoryTimeMax) {
      ended_ = processorTime();
      return false;
    }
    request_ = requestOf(history_[move_], repeat_++);
    return true;
  }

  void begin() {
    findings_.current = {.request = request_number_,
                         .move = static_cast<std::uint32_t>(move_),
                         .payload_size = request_.payload.size(),
                         .names = countNames(request_.payload)};
    findings_.current_kind = static_cast<std::uint32_t>(history_[move_].pieces.front().kind);
    if (request_number_ == exact_memory_of_) {
      resetPeak();
      resident_before_ = statusField("VmRSS:");
    }
    is_measuring_ = true;
    work_before_ = workDone();
    given_before_ = givenByTheSystem();
    time_before_ = processorTime();
  }

  void end() {
    const double time = processorTime() - time_before_;
    double memory = givenByTheSystem() - given_before_;
    const std::uint64_t work = workDone() - work_before_;
    if (request_number_ == exact_memory_of_) memory = statusField("VmHWM:") - resident_before_;
    findings_.current.steps = steps_;
    std::uint64_t units = request_.payload.size() + response_size_ + steps_;
    if (request_.type != worker::MessageType::EvalStart) units += run_sizes_[request_.run_id];
    if (run_id_ != 0) run_sizes_[run_id_] += request_.payload.size();
    const double work_beyond =
        work > kWorkOfAnyRequest ? static_cast<double>(work - kWorkOfAnyRequest) : 0;
    note(Measure::Time, time);
    note(Measure::Excess, time - kShare * static_cast<double>(units));
    note(Measure::Work, work_beyond / static_cast<double>(units + 1));
    note(Measure::Memory, memory);
    ++request_number_;
    is_measuring_ = false;
  }

  void note(Measure measure, double value) {
    Worst& worst = findings_.worst[findings_.current_kind][static_cast<std::size_t>(measure)];
    if (value <= worst.value) return;
    worst = findings_.current;
    worst.value = value;
  }

  const History& history_;
  std::uint32_t exact_memory_of_;
  Findings& findings_;
  double started_ = 0;
  double move_started_ = 0;
  double ended_ = 0;
  std::size_t move_ = 0;
  std::uint32_t repeat_ = 0;
  std::uint32_t request_number_ = 0;
  Request request_;
  bool is_in_payload_ = false;
  bool is_measuring_ = false;
  double time_before_ = 0;
  double given_before_ = 0;
  double resident_before_ = 0;
  std::uint64_t work_before_ = 0;
  std::uint64_t response_size_ = 0;
  std::uint64_t steps_ = 0;
  std::uint64_t run_id_ = 0;
  std::unordered_map<std::uint64_t, std::uint64_t> run_sizes_;
};

[[noreturn]] void beWorker(const History& history, std::uint32_t exact_memory_of,
                           Findings& findings) {
  const rlimit memory = {kMemoryMax, kMemoryMax};
  ::setrlimit(RLIMIT_AS, &memory);
  const int nothing = ::open("/dev/null", O_WRONLY);
  ::dup2(nothing, STDERR_FILENO);  // Whoever breaks the law of work says so; here that is counted.
  worker::keepFreedMemory();
  Trial trial(history, exact_memory_of, findings);
  auto& dispatcher = *new worker::Dispatcher;  // Never destroyed, as in worker/main.cc.
  static_cast<void>(worker::serve(dispatcher, trial, trial));
  findings.leaving = processorTime() - trial.ended();
  std::_Exit(0);
}

}  // namespace

const char* nameOf(Measure measure) {
  static constexpr std::array<const char*, kMeasureCount> kNames = {"time", "excess time", "work",
                                                                    "memory"};
  return kNames[static_cast<std::size_t>(measure)];
}

Findings runHistory(const History& history, std::uint32_t exact_memory_of) {
  void* const memory =
      ::mmap(nullptr, sizeof(Findings), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
  if (memory == MAP_FAILED) std::abort();
  auto* const shared = new (memory) Findings;
  const pid_t child = ::fork();
  if (child < 0) std::abort();
  if (child == 0) beWorker(history, exact_memory_of, *shared);
  int status = 0;
  ::waitpid(child, &status, 0);
  Findings findings = *shared;
  findings.has_crashed = WIFSIGNALED(status);  // Without memory it exits, which is no fault.
  ::munmap(memory, sizeof(Findings));
  return findings;
}

}  // namespace lisp_worker::siege
