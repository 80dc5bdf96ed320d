// The text form of values, for expectations and for what a failing one prints: `(1 2.5 X nil)`.
//
// Written apart from the worker's encoder, so that the two check each other.

#ifndef TESTING_BASE_VALUE_TEXT_H_
#define TESTING_BASE_VALUE_TEXT_H_

#include <iosfwd>
#include <string>
#include <string_view>

#include "lisp/outcome.h"
#include "lisp/value.h"

namespace lisp_worker::testing_support {

// Numbers as printf writes them with %.17g, strings between double quotes with nothing escaped.
// A value that is nested deeper than any test reads is cut off with "...".
[[nodiscard]] std::string textOf(const lisp::LispValue& value);

// The value of a text that holds one form; a text that does not fails the test and is nil.
[[nodiscard]] lisp::LispValue read(std::string_view text);

}  // namespace lisp_worker::testing_support

namespace lisp {

// For GoogleTest's messages.
void PrintTo(const LispValue& value, std::ostream* out);
void PrintTo(const EvalOutcome& outcome, std::ostream* out);

}  // namespace lisp

#endif  // TESTING_BASE_VALUE_TEXT_H_
