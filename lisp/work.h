// The work that the worker does, counted in the build that proves how little it is.
//
// With LISP_COUNT_WORK every loop over values, bytes, bindings and records counts what it visits,
// and worker/work_law.h compares the sum with what a request may cost. Otherwise counting is
// nothing at all.

#ifndef LISP_WORK_H_
#define LISP_WORK_H_

#include <cstdint>

namespace lisp {

#ifdef LISP_COUNT_WORK

// The count, which only the two functions below reach.
class WorkCount {
  friend std::uint64_t workDone();
  friend void countWork(std::uint64_t units);

  static inline constinit std::uint64_t units_ = 0;
};

// Units of work since the process began: values visited, bytes touched, bindings moved, blocks
// allocated.
[[nodiscard]] inline std::uint64_t workDone() { return WorkCount::units_; }

inline void countWork(std::uint64_t units = 1) { WorkCount::units_ += units; }

#else

inline void countWork(std::uint64_t /*units*/ = 1) {}

#endif

}  // namespace lisp

#endif  // LISP_WORK_H_
