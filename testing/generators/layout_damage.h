// Programs that mean the same and look worse.

#ifndef TESTING_GENERATORS_LAYOUT_DAMAGE_H_
#define TESTING_GENERATORS_LAYOUT_DAMAGE_H_

#include <string>
#include <string_view>

#include "testing/base/random.h"

namespace lisp_worker::testing_support {

// `text` with random blanks, tabs, line ends of both kinds and comments between its tokens; some
// are taken out where nothing needs them. The tokens and the comments of a text that can be read
// stay.
[[nodiscard]] std::string damagedLayout(std::string_view text, Random& random);

// `text` with other numbers of blanks, and tabs, where it has blanks: at the beginnings and ends of
// lines and between tokens. It has the same lines.
[[nodiscard]] std::string damagedBlanks(std::string_view text, Random& random);

}  // namespace lisp_worker::testing_support

#endif  // TESTING_GENERATORS_LAYOUT_DAMAGE_H_
