// Checks a program without running it.

#ifndef CHECK_CHECK_H_
#define CHECK_CHECK_H_

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "explain/evaluation.h"

namespace check {

using explain::ProgramPointer;

enum class Severity : std::uint8_t {
  Error,    // Evaluating the place fails.
  Warning,  // It works, but perhaps not as its writer thinks.
};

// Of one search. The console shows one less, and so knows whether there are more.
inline constexpr std::size_t kFindingCountMax = 101;

struct Finding {
  Severity severity = Severity::Error;
  ProgramPointer program;
  std::size_t begin = 0;
  std::size_t end = 0;
  std::string message;
  std::string advice;
};

// Looks at programs that are run in this order, one after the other: texts that cannot be read,
// functions that nobody defines, calls with a wrong number of arguments, malformed special forms,
// arguments that can only be of a wrong kind (check/flow.h), variables that nothing assigns where
// they are seen, forms nested too deep; and, as warnings, assignments that reach a copy of a
// caller's variable, or come too late for a callee's, loops whose condition is a list and so never
// nil or cannot change, angles in degrees, selections that may be nil, names that are assigned and
// never read or only inside one function, parameters and locals that nobody uses, functions that
// are defined twice or called by way of others before they are defined. In the order of the texts;
// only programs from `first_shown` on are reported, and of those at most kFindingCountMax findings.
// Functions that call each other too often to follow are not searched for variables of their
// callers.
[[nodiscard]] std::vector<Finding> findingsIn(std::span<const ProgramPointer> programs,
                                              std::size_t first_shown);

// Several lines: place, kind and message, the source line with a caret, what to do.
[[nodiscard]] std::string describe(const Finding& finding);

}  // namespace check

#endif  // CHECK_CHECK_H_
