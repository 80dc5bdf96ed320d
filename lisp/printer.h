// The printer: values become text, the reverse of the reader (lisp/reader.h).
//
// Not all text can be read back: strings are not escaped, and a NaN has no notation.

#ifndef LISP_PRINTER_H_
#define LISP_PRINTER_H_

#include <cstddef>
#include <string>

#include "lisp/value.h"

namespace lisp {

// The text form of `value`, the only one that the system has: numbers with 17 significant digits,
// so that the host gets the exact double back, and strings between double quotes with nothing
// escaped.
[[nodiscard]] std::string encodeValue(const LispValue& value);

// Appends the text form of `value` to `text` unless `text` would grow beyond `size_max` bytes.
// Then returns false, as soon as that is known, and leaves in `text` what it has written so far.
// Without recursion: values nest without limit.
[[nodiscard]] bool appendValue(const LispValue& value, std::size_t size_max, std::string& text);

}  // namespace lisp

#endif  // LISP_PRINTER_H_
