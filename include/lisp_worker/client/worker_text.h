// The text in which the worker writes: results of programs and arguments of host calls.
//
// The worker writes strings as they are, between double quotes, with nothing escaped. So a
// backslash stands for itself, and a string that holds a double quote cannot always be told from
// two strings: (LIST "A" "B") and a list of the one string A" "B are both written ("A" "B").
//
// We read a string as ending at the first quote after which a value can end: before a space, a
// closing parenthesis or the end of the text. That is right for every text whose strings hold no
// quote, and for strings like 3/4"x2 where another character follows the quote. Only a string
// with a quote before a space, before a closing parenthesis or at its own end is misread, or makes
// the text unreadable. The text itself is always at hand, for a host that knows what it asked for.

#ifndef LISP_WORKER_CLIENT_WORKER_TEXT_H_
#define LISP_WORKER_CLIENT_WORKER_TEXT_H_

#include <optional>
#include <string>
#include <string_view>

#include "lisp_worker/client/datum.h"

namespace lisp_worker::client {

// The datum that the worker wrote as `text`, infinities and NaN included. Empty when the worker
// cannot have written it so, or when it has more than kTextNestingMax (answer_text.h) lists inside
// each other, which a program can build but a host cannot send back; the reason, with the place as
// a byte offset, is then in `error_out` unless that is null.
[[nodiscard]] std::optional<Datum> readWorkerText(std::string_view text, std::string* error_out);

}  // namespace lisp_worker::client

#endif  // LISP_WORKER_CLIENT_WORKER_TEXT_H_
