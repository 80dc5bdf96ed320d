// One call of a builtin function with evaluated arguments, and what it comes to.

#ifndef EXPLAIN_CALL_H_
#define EXPLAIN_CALL_H_

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "geometry/coord_context.h"
#include "lisp/value.h"

namespace explain {

// A refusal: the worker's message, and which argument is to blame.
struct Refusal {
  std::string message;
  std::optional<std::size_t> argument;  // From 0; empty where the call as a whole is wrong.
  std::string expected;
  std::string advice;
};

// The value of `(NAME ARGUMENTS...)`, where `name` is a builtin that needs no host, or null with
// the reason in `refusal`. `context` may be null.
[[nodiscard]] std::optional<lisp::LispValue> callBuiltin(std::string_view name,
                                                         std::span<const lisp::LispValue> arguments,
                                                         const geometry::CoordContext* context,
                                                         Refusal& refusal);

}  // namespace explain

#endif  // EXPLAIN_CALL_H_
