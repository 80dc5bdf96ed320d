// Programs in which nothing is wrong, as people write them: every one ends with a value, asks for
// what may be nil, uses what it defines.

#ifndef TESTING_GENERATORS_RIGHT_PROGRAMS_H_
#define TESTING_GENERATORS_RIGHT_PROGRAMS_H_

#include <string>
#include <string_view>

#include "testing/base/random.h"

namespace lisp_worker::testing_support {

[[nodiscard]] std::string makeRightProgram(Random& random);

// An answer to a host call of that name, also that nothing was found.
[[nodiscard]] std::string answerForRight(std::string_view call, Random& random);

}  // namespace lisp_worker::testing_support

#endif  // TESTING_GENERATORS_RIGHT_PROGRAMS_H_
