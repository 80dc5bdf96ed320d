// Asks the functions of the worker itself that its builtins use (read_point, asSelectionSet), so a
// kind fits here exactly when the builtin accepts it.

#include "explain/kind.h"

#include "explain/value_text.h"
#include "geometry/builtins.h"
#include "lisp/arithmetic.h"

namespace explain {

using lisp::LispValue;

bool fits(Kind kind, const LispValue& value) {
  switch (kind) {
    case Kind::Any:
      return true;
    case Kind::Number:
      return lisp::asNumber(value).has_value();
    case Kind::Divisor:
      return lisp::asNumber(value) && !lisp::isRefusedDivisor(*lisp::asNumber(value));
    case Kind::List:
      return lisp::asList(value).has_value();
    case Kind::SelectionSet:
      return lisp::asSelectionSet(value).has_value();
    case Kind::Point:
      return geometry::read_point(value).has_value();
    case Kind::System:
      return geometry::read_system_code(value).has_value();
  }
  return false;
}

LispValue valueOf(Kind kind) {
  switch (kind) {
    case Kind::List:
    case Kind::Point:
      return lisp::list({lisp::number(1), lisp::number(2)});
    case Kind::SelectionSet:
      return lisp::list({lisp::symbol("$KVSEL")});
    default:
      return lisp::number(1);
  }
}

std::string expectationOf(Kind kind, const LispValue& value) {
  const std::string instead = ", not " + kindOf(value);
  switch (kind) {
    case Kind::Divisor:
      if (lisp::asNumber(value)) return "a divisor that is not 0";
      [[fallthrough]];
    case Kind::Number:
      return "a number" + instead;
    case Kind::List:
      return "a list" + instead;
    case Kind::SelectionSet:
      return "a selection set" + instead;
    case Kind::Point:
      return "a point, a list of two or three numbers" + instead;
    case Kind::System:
      return "the number of a system, 0 to 4";
    case Kind::Any:
      break;
  }
  return "";
}

namespace {

std::string adviceForNumber(const LispValue& value) {
  switch (value.kind()) {
    case lisp::ValueKind::Nil:
      return "nil comes from a search that has found nothing, from CAR of an empty list, or from "
             "an IF without ELSE: test for it before";
    case lisp::ValueKind::String:
      return "write the number without quotes; there is no function that makes a number of a text";
    case lisp::ValueKind::List:
      return "take a number out of the list: (CAR P) is the x of a point, (CAR (CDR P)) the y";
    default:
      return lisp::valuesEqual(value, lisp::truth())
                 ? "T is always T: give a variable or a parameter another name"
                 : "a quoted name is not its value: leave the apostrophe out";
  }
}

}  // namespace

std::string adviceFor(Kind kind, const LispValue& value, std::string_view name) {
  const bool is_nil = value.kind() == lisp::ValueKind::Nil;
  switch (kind) {
    case Kind::Divisor:
      if (lisp::asNumber(value)) return "test it before: (IF (= D 0) ... (/ N D))";
      [[fallthrough]];
    case Kind::Number:
      if (name == "=" || name == "/=") return "compare texts, symbols and lists with EQUAL";
      return adviceForNumber(value);
    case Kind::List:
      return is_nil ? "nil is not a list: begin with '() where a list is to grow, and test what "
                      "may have found nothing"
                    : "LENGTH counts the elements of a list only";
    case Kind::SelectionSet:
      return "SSGET answers nil when it finds nothing: test it before, as in (IF SET (SSLENGTH "
             "SET) 0)";
    case Kind::Point:
      return is_nil ? "nil comes from a point that nobody has picked: test for it before"
                    : "make a point of numbers with (LIST X Y), or of constants with '(1 2)";
    case Kind::System:
      return "0 is the world; the host defines the others";
    case Kind::Any:
      break;
  }
  return "";
}

}  // namespace explain
