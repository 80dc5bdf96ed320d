// Pieces of programs that are as large or as greedy as a request allows.

#ifndef TESTING_GENERATORS_GREEDY_PROGRAMS_H_
#define TESTING_GENERATORS_GREEDY_PROGRAMS_H_

#include <cstddef>
#include <string>
#include <string_view>

#include "lisp_worker/worker/frame.h"

namespace lisp_worker::testing_support {

// `text` `count` times.
[[nodiscard]] std::string repeated(std::string_view text, std::size_t count);

// `text` as often as it fits into `size` bytes, by default those of a request.
[[nodiscard]] std::string asOftenAsFits(std::string_view text,
                                        std::size_t size = worker::kPayloadSizeMax);

// The shortest names that there are: a letter and then digits to the base 36. Names of different
// numbers differ.
[[nodiscard]] std::string shortName(std::size_t number);

// The first `count` short names, a blank before each.
[[nodiscard]] std::string shortNames(std::size_t count);

// A loop of `passes` passes over the global I around `body`; its value is nil after no pass.
[[nodiscard]] std::string loop(std::size_t passes, std::string_view body);

}  // namespace lisp_worker::testing_support

#endif  // TESTING_GENERATORS_GREEDY_PROGRAMS_H_
