// Numbers as text, the same on every platform and in every locale of the embedding program.

#ifndef LISP_WORKER_CLIENT_NUMBER_TEXT_H_
#define LISP_WORKER_CLIENT_NUMBER_TEXT_H_

#include <optional>
#include <string>
#include <string_view>

namespace lisp_worker::client {

// The number that the worker makes of `token`: all of it in C's decimal or hexadecimal notation,
// with a sign or without. Too small for a double is a zero of that sign. Empty when the worker
// would take the token for a symbol: another spelling, too large for a double, infinity and NaN.
[[nodiscard]] std::optional<double> readNumber(std::string_view token);

// The fewest digits, 15 at least, that read back as exactly `value`, without trailing zeros.
// Infinities and NaN are "inf", "-inf", "nan" and "-nan", which do not read back as numbers.
[[nodiscard]] std::string printNumber(double value);

}  // namespace lisp_worker::client

#endif  // LISP_WORKER_CLIENT_NUMBER_TEXT_H_
