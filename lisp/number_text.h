// The text of a number in a response.

#ifndef LISP_NUMBER_TEXT_H_
#define LISP_NUMBER_TEXT_H_

#include <cstddef>

namespace lisp {

// The room that a number needs while it is written, in bytes. No text is longer than 24.
inline constexpr std::size_t kNumberRoom = 48;

// Writes what printf's "%.17g" does in the "C" locale; "nan" or "-nan", by its sign bit, for every
// NaN. Returns the text's end. Of the kNumberRoom bytes from `out` on, those behind the text are
// left with anything.
[[nodiscard]] char* writeNumber(double number, char* out);

}  // namespace lisp

#endif  // LISP_NUMBER_TEXT_H_
