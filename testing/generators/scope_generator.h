// Random programs about nothing but bindings: which one a name means, what a callee sees of its
// caller, what an argument's assignment changes and for whom.
//
// Every expression yields a symbol, a number or nil, and nothing but look-ups, assignments and
// calls is made of them, so such a program cannot fail by the kinds of its values: all of it runs.
// Now and then the values of all names are put on a list, which is what the program gives.

#ifndef TESTING_GENERATORS_SCOPE_GENERATOR_H_
#define TESTING_GENERATORS_SCOPE_GENERATOR_H_

#include <array>
#include <cstddef>
#include <string>

#include "testing/base/random.h"

namespace lisp_worker::testing_support {

class ScopeGenerator {
 public:
  // Borrows `random` for its life.
  explicit ScopeGenerator(Random& random) : random_(random) {}

  // Binds some globals, defines up to three functions of few parameters and calls them. A function
  // calls those defined before it only, so every call ends.
  std::string program();

 private:
  static constexpr std::size_t kFunctionCountMax = 3;

  std::string name();
  std::string constant();
  std::string definition(std::size_t index);
  // An expression that may call the first `callable` functions and nests at most `fuel` deep.
  std::string expression(std::size_t callable, int fuel);
  std::string call(std::size_t callable, int fuel);

  Random& random_;
  std::array<int, kFunctionCountMax> parameter_counts_{};
  int next_number_ = 0;  // No two constants of a program are the same.
};

}  // namespace lisp_worker::testing_support

#endif  // TESTING_GENERATORS_SCOPE_GENERATOR_H_
