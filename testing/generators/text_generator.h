// Random texts below the level of programs: numbers, strings, data, answers of a host, and soup.

#ifndef TESTING_GENERATORS_TEXT_GENERATOR_H_
#define TESTING_GENERATORS_TEXT_GENERATOR_H_

#include <string>
#include <string_view>

#include "testing/base/random.h"

namespace lisp_worker::testing_support {

// A number token: mostly small, sometimes at the edges of the double's range.
[[nodiscard]] std::string generateNumber(Random& random);

// Texts that look like a number, and often are one: many digits, wild exponents, hexadecimal,
// signs.
[[nodiscard]] std::string generateNumberLike(Random& random);

// A string literal, with escapes now and then.
[[nodiscard]] std::string generateString(Random& random);

// A datum of any kind that nests at most `depth` lists.
[[nodiscard]] std::string generateDatum(Random& random, int depth);

// A list of 2 or 3 numbers, in parentheses.
[[nodiscard]] std::string generatePoint(Random& random);

// A list headed by the symbol $KVSEL, in parentheses.
[[nodiscard]] std::string generateSelectionSet(Random& random);

// A host's answer to the call of `call_name`: mostly what the call is about, sometimes
// another datum, sometimes a text that is not one datum at all.
[[nodiscard]] std::string generateAnswer(Random& random, std::string_view call_name);

// Bytes that matter to the reader in an order that need not make sense.
[[nodiscard]] std::string generateSoup(Random& random);

}  // namespace lisp_worker::testing_support

#endif  // TESTING_GENERATORS_TEXT_GENERATOR_H_
