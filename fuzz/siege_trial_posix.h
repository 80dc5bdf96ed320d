// One history against a fresh worker in a process of its own, each request measured.

#ifndef FUZZ_SIEGE_TRIAL_POSIX_H_
#define FUZZ_SIEGE_TRIAL_POSIX_H_

#include <array>
#include <cstddef>
#include <cstdint>

#include "fuzz/siege_history.h"

namespace lisp_worker::siege {

// By what a request can be too expensive.
enum class Measure : std::uint8_t {
  Time,    // Microseconds of processor time.
  Excess,  // The same, less what a request of its size and steps may take.
  Work,    // Units of work for each step and byte, in the build that counts; else 0.
  Memory,  // KiB: pages that the system had to give during the request.
  Count
};

inline constexpr std::size_t kMeasureCount = static_cast<std::size_t>(Measure::Count);

[[nodiscard]] const char* nameOf(Measure measure);

// The most expensive request of those that begin with the same kind of piece.
struct Worst {
  double value = 0;
  std::uint32_t request = 0;  // Its number in the history, from 0 on.
  std::uint32_t move = 0;
  std::uint64_t payload_size = 0;
  std::uint32_t names = 0;  // In the program, each time that it has one.
  std::uint64_t steps = 0;
  std::uint32_t status = 0;
};

struct Findings {
  std::array<std::array<Worst, kMeasureCount>, kPieceKindCount> worst = {};
  double leaving = 0;  // Microseconds from the end of the input to the end of the worker.
  Worst current = {};  // The request in progress.
  std::uint32_t current_kind = 0;
  bool has_crashed = false;  // Or broken the law of work, in the request in progress.
};

// `exact_memory_of` is the number of a request whose memory is measured by the highest resident
// size, which takes too long for all of them.
[[nodiscard]] Findings runHistory(const History& history,
                                  std::uint32_t exact_memory_of = 0xFFFFFFFF);

}  // namespace lisp_worker::siege

#endif  // FUZZ_SIEGE_TRIAL_POSIX_H_
