// The text in which a host writes to the worker: answers to host calls, and whatever a host keeps
// in the dialect's syntax for itself.
//
// Here strings are escaped: a backslash before a double quote or a backslash stands for that
// character, \n, \r and \t for a line feed, a carriage return and a tab. The worker's own texts
// are not written like that; worker_text.h reads those.

#ifndef LISP_WORKER_CLIENT_ANSWER_TEXT_H_
#define LISP_WORKER_CLIENT_ANSWER_TEXT_H_

#include <cstdint>
#include <iosfwd>
#include <optional>
#include <string>
#include <string_view>

#include "lisp_worker/client/datum.h"

namespace lisp_worker::client {

// A form may stand inside this many lists and quote marks, the worker's own limit for texts.
inline constexpr std::uint32_t kTextNestingMax = 512;

// `datum` in the dialect's syntax, escaped, with numbers by printNumber. Made for any datum, and
// recursive, so for data that were read or are known to be shallow.
[[nodiscard]] std::string printDatum(const Datum& datum);
std::ostream& operator<<(std::ostream& stream, const Datum& datum);

// Why the worker would not read printDatum(datum) as exactly `datum`; null when it would. These
// cannot be written as text: an infinity or a NaN; a symbol whose name is empty, has a lower case
// letter, is NIL, is spelled like a number, or holds a character that ends a token; a datum inside
// more than kTextNestingMax lists.
[[nodiscard]] const char* whyUnwritable(const Datum& datum);

// printDatum(answer) if it is writable. Otherwise empty, with the reason in `error_out` unless that
// is null.
[[nodiscard]] std::optional<std::string> answerText(const Datum& answer, std::string* error_out);

// The one datum that `text` holds, read as the worker reads an answer. Otherwise empty, with the
// worker's own message in `error_out` unless that is null.
[[nodiscard]] std::optional<Datum> readDatum(std::string_view text, std::string* error_out);

}  // namespace lisp_worker::client

#endif  // LISP_WORKER_CLIENT_ANSWER_TEXT_H_
