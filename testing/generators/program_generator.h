// A seeded generator of programs that mean something.
//
// A random tree of operators fails at its first node and shows nothing of what comes after. So
// expressions are made for what their surroundings want (a number, a point, a list, ...), names
// keep to one sort of value, functions are called with as many arguments as they were defined
// with, and loops count. Every one of these habits is broken now and then: wrong arities, wrong
// kinds, unbound names, shadowed builtins, redefinitions in the middle of a call, loops without
// end, nesting around the depth limit. The names are few, so that globals, parameters, locals and
// a caller's bindings meet each other all the time.

#ifndef TESTING_GENERATORS_PROGRAM_GENERATOR_H_
#define TESTING_GENERATORS_PROGRAM_GENERATOR_H_

#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "testing/base/random.h"

namespace lisp_worker::testing_support {

class ProgramGenerator {
 public:
  // Borrows `random` for its life. One generator makes the programs of one conversation: later
  // programs call what earlier ones defined.
  explicit ProgramGenerator(Random& random) : random_(random) {}

  // The text of the next program: mostly a few forms, sometimes none, soup, numbers or a program
  // at the edge of a limit.
  std::string program();

  // A program that binds nearly every variable and defines some functions, so that what follows it
  // does not end at the first look-up.
  std::string bindings();

  // Every variable name that programs assign.
  [[nodiscard]] static const std::vector<std::string>& variableNames();
  // Every function name that programs define, shadowed builtins included.
  [[nodiscard]] static const std::vector<std::string>& functionNames();

 private:
  // The purpose of an expression.
  enum class Sort { Number, Truth, Point, List, SelectionSet, Text, Any };

  // Forms at the top, and statements: evaluated for what they do.
  std::string ordinaryProgram();
  std::string statement(int fuel);
  std::string definition(int fuel);
  std::string locals(std::vector<std::string>& body);
  std::string countedLoop(int fuel);
  std::string listLoop();
  std::string assignment(int fuel);

  // An expression of the sort; `fuel` bounds how deep it nests.
  std::string expression(Sort sort, int fuel);
  std::string simple(Sort sort);
  std::string constant(Sort sort);
  std::string compound(Sort sort, int fuel);
  std::string number(int fuel);
  std::string truth(int fuel);
  std::string point(int fuel);
  std::string list(int fuel);
  std::string selectionSet(int fuel);
  std::string wrapped(Sort sort, int fuel);
  std::string call(Sort sort, int fuel);
  std::string hostCall(std::string_view name, int fuel);
  std::string mistake(int fuel);
  std::string specialNumber();

  // Programs about one limit.
  std::string nestedProgram();
  std::string recursiveProgram();
  std::string endlessProgram();
  std::string stepLimitProgram();
  std::string tokenProgram();
  std::string contextProgram();

  std::string variable(Sort sort);
  Sort sortOf(const std::string& variable_name) const;
  Sort anySort();
  std::string functionFor(Sort sort);
  // `(name a b)`, with the blanks and letter cases of a careless typist.
  std::string form(std::string_view name, const std::vector<std::string>& arguments);
  std::string symbol(std::string_view name);
  std::string blank();

  Random& random_;
  // The parameters of each defined function, by its name: their names tell their sorts.
  std::map<std::string, std::vector<std::string>> parameters_;
  int loop_depth_ = 0;
};

}  // namespace lisp_worker::testing_support

#endif  // TESTING_GENERATORS_PROGRAM_GENERATOR_H_
