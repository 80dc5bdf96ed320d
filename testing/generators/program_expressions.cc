// Expressions: what programs compute.

#include <string>
#include <vector>

#include "testing/generators/program_generator.h"
#include "testing/generators/text_generator.h"

namespace lisp_worker::testing_support {

std::string ProgramGenerator::expression(Sort sort, int fuel) {
  if (random_.chance(1, 250)) return mistake(fuel - 1);
  if (random_.chance(1, 150)) sort = Sort::Any;
  if (sort == Sort::Any) sort = anySort();
  if (fuel <= 0 || random_.chance(1, 5)) return simple(sort);
  if (random_.chance(1, 4)) return wrapped(sort, fuel - 1);
  return compound(sort, fuel - 1);
}

std::string ProgramGenerator::simple(Sort sort) {
  if (sort != Sort::Text && random_.chance(1, 2)) return variable(sort);
  return constant(sort);
}

std::string ProgramGenerator::constant(Sort sort) {
  switch (sort) {
    case Sort::Number:
      return random_.chance(1, 25) ? specialNumber() : generateNumber(random_);
    case Sort::Truth:
      return random_.chance(1, 2) ? symbol("T") : symbol("NIL");
    case Sort::Point:
      return "'" + generatePoint(random_);
    case Sort::List: {
      const std::string first = generateDatum(random_, 1);
      return "'(" + first + " " + generateDatum(random_, 2) + ")";
    }
    case Sort::SelectionSet:
      return "'" + generateSelectionSet(random_);
    case Sort::Text:
      return generateString(random_);
    case Sort::Any:
      break;
  }
  return "'" + generateDatum(random_, 2);
}

std::string ProgramGenerator::specialNumber() {
  static constexpr const char* kTexts[] = {"(* 1e200 1e200)",
                                           "(- (* 1e200 1e200))",
                                           "(- (* 1e200 1e200) (* 1e200 1e200))",
                                           "(- (- (* 1e200 1e200) (* 1e200 1e200)))",
                                           "(/ (* 1e200 1e200) (* 1e200 1e200))",
                                           "(- 0)",
                                           "-0.0",
                                           "(+ -0.0 -0.0)",
                                           "(* 0 (* 1e200 1e200))",
                                           "(/ 1 (* 1e200 1e200))"};
  return random_.pick(kTexts);
}

std::string ProgramGenerator::compound(Sort sort, int fuel) {
  switch (sort) {
    case Sort::Number:
      return number(fuel);
    case Sort::Truth:
      return truth(fuel);
    case Sort::Point:
      return point(fuel);
    case Sort::List:
      return list(fuel);
    case Sort::SelectionSet:
      return selectionSet(fuel);
    default:
      return wrapped(sort, fuel);
  }
}

// A special form around an expression of the same sort.
std::string ProgramGenerator::wrapped(Sort sort, int fuel) {
  switch (random_.below(12)) {
    case 0:
    case 1:
      return form("IF",
                  {expression(Sort::Truth, fuel), expression(sort, fuel), expression(sort, fuel)});
    case 2:
      return form("PROGN", {statement(fuel), expression(sort, fuel)});
    case 3:
      return form("SETQ", {variable(sort), expression(sort, fuel)});
    case 4:
      return form("OR", {expression(sort, fuel), expression(sort, fuel)});
    case 5:
      return form("AND", {expression(Sort::Truth, fuel), expression(sort, fuel)});
    case 6:
      return form("CAR", {form("LIST", {expression(sort, fuel)})});
    case 7:
      return form(fuel % 2 == 0 ? "PRINC" : "PRIN1",
                  {expression(Sort::Any, fuel), expression(sort, fuel)});
    case 8:
      return form("SETQ", {variable(Sort::Any), expression(Sort::Any, fuel), variable(sort),
                           expression(sort, fuel)});
    default:
      return call(sort, fuel);
  }
}

// A call of a function that gives this sort; of a builtin when none is defined.
std::string ProgramGenerator::call(Sort sort, int fuel) {
  const std::string name = functionFor(sort);
  const auto found = parameters_.find(name);
  if (found == parameters_.end()) {
    return random_.chance(1, 12) ? form(name, {simple(Sort::Number)})
           : sort == Sort::Text  ? generateString(random_)
                                 : compound(sort, fuel);
  }
  // A copy: arguments may define the function anew.
  const std::vector<std::string> parameters = found->second;
  std::vector<std::string> arguments;
  for (const std::string& parameter : parameters) {
    // Arguments that assign what the caller has bound, or redefine the function being called.
    if (random_.chance(1, 10)) {
      arguments.push_back(form("PROGN", {random_.chance(1, 3) ? definition(0) : assignment(1),
                                         expression(sortOf(parameter), fuel - 1)}));
    } else {
      arguments.push_back(expression(sortOf(parameter), fuel - 1));
    }
  }
  if (random_.chance(1, 60)) arguments.push_back(simple(Sort::Any));
  return form(name, arguments);
}

std::string ProgramGenerator::number(int fuel) {
  static constexpr const char* kMany[] = {"+", "-", "*", "/"};
  std::vector<std::string> arguments;
  switch (random_.below(16)) {
    case 0:
      return form("1+", {expression(Sort::Number, fuel)});
    case 1:
      return form("1-", {expression(Sort::Number, fuel)});
    case 2:
      return form("LENGTH", {expression(Sort::List, fuel)});
    case 3:
      return form("SSLENGTH", {expression(Sort::SelectionSet, fuel)});
    case 4:
      return form("DISTANCE", {expression(Sort::Point, fuel), expression(Sort::Point, fuel)});
    case 5:
      return form("ANGLE", {expression(Sort::Point, fuel), expression(Sort::Point, fuel)});
    case 6:
      return form("CAR", {expression(Sort::Point, fuel)});
    case 7:
      return form("CAR", {form("CDR", {expression(Sort::Point, fuel)})});
    case 8:
      return random_.chance(1, 3) ? hostCall("GETDIST", fuel) : specialNumber();
    case 9:
      return countedLoop(fuel);
    default: {
      const int count = random_.between(random_.chance(1, 20) ? 0 : 1, 4);
      for (int i = 0; i < count; ++i) arguments.push_back(expression(Sort::Number, fuel));
      return form(random_.pick(kMany), arguments);
    }
  }
}

std::string ProgramGenerator::truth(int fuel) {
  static constexpr const char* kComparisons[] = {"=", "/=", "<", ">", "<=", ">="};
  switch (random_.below(10)) {
    case 0:
      return form("NOT", {expression(Sort::Truth, fuel)});
    case 1:
      return form("NULL", {expression(Sort::Any, fuel)});
    case 2:
      return form("AND", {expression(Sort::Truth, fuel), expression(Sort::Truth, fuel)});
    case 3:
      return form("OR", {expression(Sort::Truth, fuel), expression(Sort::Truth, fuel)});
    case 4:
    case 5: {
      const Sort sort = anySort();
      // Comparing a value with itself, and with a copy that took another way.
      const std::string left = random_.chance(1, 4) ? variable(sort) : expression(sort, fuel);
      const std::string right = random_.chance(1, 4)   ? left
                                : random_.chance(1, 2) ? form("CAR", {form("LIST", {left})})
                                                       : expression(sort, fuel);
      return form(random_.chance(1, 2) ? "EQ" : "EQUAL", {left, right});
    }
    default: {
      const char* name = random_.pick(kComparisons);
      return form(name, {expression(Sort::Number, fuel), expression(Sort::Number, fuel)});
    }
  }
}

std::string ProgramGenerator::point(int fuel) {
  switch (random_.below(8)) {
    case 0:
    case 1:
      return form("LIST", {expression(Sort::Number, fuel), expression(Sort::Number, fuel)});
    case 2:
      return form("LIST", {expression(Sort::Number, fuel), expression(Sort::Number, fuel),
                           expression(Sort::Number, fuel)});
    case 3:
      return form("POLAR", {expression(Sort::Point, fuel), expression(Sort::Number, fuel),
                            expression(Sort::Number, fuel)});
    case 4:
      return form("TRANS", {expression(Sort::Point, fuel), std::to_string(random_.between(0, 4)),
                            random_.chance(1, 6) ? generateNumber(random_)
                                                 : std::to_string(random_.between(0, 4))});
    case 5:
      return hostCall(random_.chance(1, 2) ? "GETPOINT" : "OSNAP", fuel);
    case 6:
      return hostCall("GETCORNER", fuel);
    default:
      return form("CONS", {expression(Sort::Number, fuel), expression(Sort::Point, fuel)});
  }
}

std::string ProgramGenerator::list(int fuel) {
  std::vector<std::string> arguments;
  switch (random_.below(10)) {
    case 0:
    case 1: {
      const int count = random_.between(0, 4);
      for (int i = 0; i < count; ++i) arguments.push_back(expression(Sort::Any, fuel));
      return form("LIST", arguments);
    }
    case 2:
    case 3:
    case 4:
      return form("CONS", {expression(Sort::Any, fuel),
                           expression(random_.chance(4, 5) ? Sort::List : Sort::Any, fuel)});
    case 5:
    case 6:
      return form("CDR", {expression(Sort::List, fuel)});
    case 7:
      return hostCall("ENTGET", fuel);
    case 8:
      return expression(random_.chance(1, 2) ? Sort::Point : Sort::SelectionSet, fuel);
    default: {
      // A chain of links on one shared tail, grown in a loop and compared with a second one.
      std::string grow = form("SETQ", {"L", form("CONS", {symbol("I"), "L"})});
      if (loop_depth_ > 0) return grow;
      return form("PROGN", {form("SETQ", {"I", "0", "M", "L"}),
                            form("WHILE", {form("<", {"I", std::to_string(random_.between(1, 9))}),
                                           grow, form("SETQ", {"I", form("1+", {"I"})})}),
                            form("LIST", {"L", "M", form("EQUAL", {"L", "M"})})});
    }
  }
}

std::string ProgramGenerator::selectionSet(int fuel) {
  switch (random_.below(5)) {
    case 0:
    case 1:
      return hostCall("SSGET", fuel);
    case 2:
      return form("CONS", {"'$KVSEL", expression(Sort::List, fuel)});
    case 3:
      return form("LIST", {"'$KVSEL", expression(Sort::Any, fuel), expression(Sort::Any, fuel)});
    default:
      return form(
          "PROGN",
          {form("SSNAME", {expression(Sort::SelectionSet, fuel), expression(Sort::Number, fuel)}),
           expression(Sort::SelectionSet, fuel)});
  }
}

std::string ProgramGenerator::hostCall(std::string_view name, int fuel) {
  std::vector<std::string> arguments;
  const int count = random_.chance(1, 2) ? 0 : random_.between(1, 3);
  for (int i = 0; i < count; ++i) arguments.push_back(expression(Sort::Any, fuel));
  return form(name, arguments);
}

// A form that is wrong in itself, or that is nothing that anyone would write.
std::string ProgramGenerator::mistake(int fuel) {
  static constexpr const char* kTexts[] = {"(FOO)",
                                           "(1 2)",
                                           "(\"LIST\" 1)",
                                           "(nil 1)",
                                           "((LIST 1) 2)",
                                           "(QUOTE)",
                                           "(QUOTE A B)",
                                           "(SETQ)",
                                           "(SETQ A)",
                                           "(SETQ \"A\" 1)",
                                           "(SETQ NIL 1)",
                                           "(IF)",
                                           "(IF 1)",
                                           "(IF 1 2 3 4)",
                                           "(WHILE)",
                                           "(DEFUN F)",
                                           "(DEFUN F ())",
                                           "(DEFUN \"F\" () 1)",
                                           "(DEFUN F NIL 1)",
                                           "(DEFUN NIL () 1)",
                                           "(DEFUN F (A 1) 2)",
                                           "(NOT)",
                                           "(NULL 1 2)",
                                           "(-)",
                                           "(/)",
                                           "(1+)",
                                           "(1- 1 2)",
                                           "(LENGTH nil)",
                                           "(CONS 1)",
                                           "(EQ 1)",
                                           "(EQUAL 1 2 3)",
                                           "(< 1)",
                                           "(>= 1 T)",
                                           "(DISTANCE '(1) '(2))",
                                           "(DISTANCE 1)",
                                           "(ANGLE)",
                                           "(POLAR '(1 2) 3)",
                                           "(POLAR '(1 2) T 3)",
                                           "(TRANS '(1 2) 0)",
                                           "(TRANS '(1 2) 0 9)",
                                           "(SSLENGTH)",
                                           "(SSLENGTH '(1))",
                                           "(SSNAME)",
                                           "(SSNAME '(1) 0)",
                                           "(CAR)",
                                           "(CDR 1 2)",
                                           "UNBOUND",
                                           "()",
                                           "(AND)",
                                           "(OR)",
                                           "(PROGN)",
                                           "(LIST)",
                                           "(PRINC)",
                                           "(/ 1 0)",
                                           "(while nil)"};
  if (random_.chance(1, 4)) {
    return form("FOO", {expression(Sort::Any, fuel), expression(Sort::Any, fuel)});
  }
  return random_.pick(kTexts);
}

}  // namespace lisp_worker::testing_support
