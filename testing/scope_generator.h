// Random programs about nothing but bindings: which one a name means, what a callee sees of its
// caller, what an argument's assignment changes and for whom.
//
// Such a program cannot fail by the kinds of its values, since it only assigns, lists and calls;
// so all of it runs, and its value shows every binding on the way.

#ifndef TESTING_SCOPE_GENERATOR_H_
#define TESTING_SCOPE_GENERATOR_H_

#include <cstddef>
#include <map>
#include <string>

#include "testing/random.h"

namespace testing_support {

class ScopeGenerator {
 public:
  // Borrows `random` for its life.
  explicit ScopeGenerator(Random& random) : random_(random) {}

  // Binds some globals, defines up to three functions of few parameters and many calls, calls them
  // and lists what is left. A function calls those defined before it, so that every call ends.
  std::string program();

 private:
  std::string name();
  std::string definition(std::size_t index);
  // An expression that may call the first `callable` functions.
  std::string expression(std::size_t callable, int fuel);
  std::string call(std::size_t callable, int fuel);
  std::string shown();

  Random& random_;
  std::map<std::size_t, int> parameter_counts_;  // Of each function defined, by its index.
  int next_number_ = 0;                          // Every constant is another number.
};

}  // namespace testing_support

#endif  // TESTING_SCOPE_GENERATOR_H_
