// Programs with one known fault at a known place.

#ifndef TESTING_FAULTY_PROGRAMS_H_
#define TESTING_FAULTY_PROGRAMS_H_

#include <cstddef>
#include <string>

#include "testing/random.h"

namespace testing_support {

struct FaultyProgram {
  std::string text;
  std::string fault;  // What was done to it, for messages.
  // Where a person should look: the first byte of the argument that has the wrong kind, of the call
  // with the wrong count, of the name that nobody has defined. For faults that have no single byte
  // (a missing parenthesis, a recursion or a loop without end) the form that has it.
  std::size_t begin = 0;
  std::size_t end = 0;  // Above `begin` + 1 only for those.
};

// A program of some functions and some forms, laid out as people do, with comments, texts and
// letters outside ASCII, that would run without its fault.
[[nodiscard]] FaultyProgram makeFaultyProgram(Random& random);

}  // namespace testing_support

#endif  // TESTING_FAULTY_PROGRAMS_H_
