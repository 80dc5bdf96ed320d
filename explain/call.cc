#include "explain/call.h"

#include <cmath>
#include <utility>

#include "explain/value_text.h"
#include "geometry/transforms.h"
#include "lisp/arithmetic.h"
#include "lisp/list.h"

namespace explain {

using lisp::LispValue;
using Arguments = std::span<const LispValue>;
using Result = std::optional<LispValue>;

namespace {

Result fail(Refusal& refusal, std::string message, std::optional<std::size_t> argument,
            std::string expected, std::string advice) {
  refusal = {std::move(message), argument, std::move(expected), std::move(advice)};
  return std::nullopt;
}

Result truthOf(bool holds) { return holds ? lisp::truth() : lisp::nil(); }

std::optional<std::size_t> firstNonNumber(Arguments arguments) {
  for (std::size_t n = 0; n < arguments.size(); ++n) {
    if (!lisp::asNumber(arguments[n])) return n;
  }
  return std::nullopt;
}

// What to try where `value` stands and a number should.
std::string adviceForNumber(const LispValue& value) {
  switch (value.kind()) {
    case lisp::ValueKind::Nil:
      return "nil comes from a search that has found nothing, from CAR of an empty list, or from "
             "an "
             "IF without ELSE: test for it before";
    case lisp::ValueKind::String:
      return "write the number without quotes; there is no function that makes a number of a text";
    case lisp::ValueKind::List:
      return "take a number out of the list: (CAR P) is the x of a point, (CAR (CDR P)) the y";
    default:
      return "a quoted name is not its value: leave the apostrophe out";
  }
}

Result failNumbers(std::string_view name, Arguments arguments, const char* message,
                   Refusal& refusal) {
  const auto culprit = firstNonNumber(arguments);
  const std::string text = std::string(name) + message;
  if (!culprit) {
    return fail(refusal, text, std::nullopt, "at least one number",
                "give " + std::string(name) + " an argument");
  }
  return fail(refusal, text, culprit, "a number, not " + kindOf(arguments[*culprit]),
              adviceForNumber(arguments[*culprit]));
}

Result failCount(std::string_view name, std::string message, std::size_t given,
                 const std::string& takes, Refusal& refusal) {
  return fail(refusal, std::move(message), std::nullopt,
              takes + "; there are " + std::to_string(given),
              "count what stands between the parentheses of " + std::string(name));
}

double apply(char operation, double a, double b) {
  switch (operation) {
    case '+':
      return lisp::sum(a, b);
    case '-':
      return lisp::difference(a, b);
    case '*':
      return lisp::product(a, b);
    default:
      return lisp::quotient(a, b);
  }
}

Result arithmetic(std::string_view name, Arguments arguments, Refusal& refusal) {
  const char operation = name.front();
  const bool needs_one = operation == '-' || operation == '/';
  if ((needs_one && arguments.empty()) || firstNonNumber(arguments)) {
    return failNumbers(name, arguments, " expects numbers", refusal);
  }
  if (name == "-" && arguments.size() == 1) return lisp::number(-*lisp::asNumber(arguments[0]));
  double result = operation == '*' ? 1 : 0;
  std::size_t n = 0;
  if (needs_one) result = *lisp::asNumber(arguments[n++]);
  for (; n < arguments.size(); ++n) {
    const double operand = *lisp::asNumber(arguments[n]);
    if (operation == '/' && lisp::isRefusedDivisor(operand)) {
      return fail(refusal, "division by zero", n, "a divisor that is not 0",
                  "test it before: (IF (= D 0) ... (/ N D))");
    }
    result = apply(operation, result, operand);
  }
  return lisp::number(result);
}

Result step(std::string_view name, Arguments arguments, Refusal& refusal) {
  if (arguments.size() != 1) {
    return failCount(name, std::string(name) + " expects one number", arguments.size(),
                     "one argument", refusal);
  }
  const auto number = lisp::asNumber(arguments[0]);
  if (!number) return failNumbers(name, arguments, " expects one number", refusal);
  return lisp::number(name == "1+" ? lisp::sum(*number, 1) : lisp::difference(*number, 1));
}

Result compare(std::string_view name, Arguments arguments, Refusal& refusal) {
  if (arguments.size() != 2) {
    return failCount(name, std::string(name) + " expects two numbers", arguments.size(),
                     "two arguments: there are no chains such as (< 1 2 3)", refusal);
  }
  if (const auto culprit = firstNonNumber(arguments)) {
    failNumbers(name, arguments, " expects two numbers", refusal);
    if (name == "=" || name == "/=") {
      refusal.advice = "compare texts, symbols and lists with EQUAL";
    }
    return std::nullopt;
  }
  const double a = *lisp::asNumber(arguments[0]);
  const double b = *lisp::asNumber(arguments[1]);
  if (name == "=") return truthOf(a == b);
  if (name == "/=") return truthOf(a != b);
  if (name == "<") return truthOf(a < b);
  if (name == ">") return truthOf(a > b);
  if (name == "<=") return truthOf(a <= b);
  return truthOf(a >= b);
}

Result carCdr(std::string_view name, Arguments arguments) {
  const auto list = arguments.size() == 1 ? lisp::asList(arguments[0]) : std::nullopt;
  if (!list || list->empty()) return lisp::nil();
  if (name == "CAR") return list->front();
  return LispValue::adopt(lisp::restOf(arguments[0].raw()));
}

Result cons(Arguments arguments, Refusal& refusal) {
  if (arguments.size() != 2) {
    return failCount("CONS", "cons expects two arguments", arguments.size(),
                     "two arguments: a value and a list", refusal);
  }
  const LispValue& rest = arguments[1];
  if (rest.kind() == lisp::ValueKind::Nil) return lisp::list({arguments[0]});
  if (rest.kind() != lisp::ValueKind::List) return lisp::list({arguments[0], rest});
  LispValue front = arguments[0];
  LispValue tail = rest;
  return LispValue::adopt(lisp::prepend(front.release(), tail.release()));
}

Result length(Arguments arguments, Refusal& refusal) {
  const auto list = arguments.size() == 1 ? lisp::asList(arguments[0]) : std::nullopt;
  if (list) return lisp::number(list->size());
  if (arguments.size() != 1) {
    return failCount("LENGTH", "length expects list", arguments.size(), "one list", refusal);
  }
  const bool is_nil = arguments[0].kind() == lisp::ValueKind::Nil;
  return fail(refusal, "length expects list", 0, "a list, not " + kindOf(arguments[0]),
              is_nil ? "nil is no list here: begin with '() where a list is to grow, and test what "
                       "may have found nothing"
                     : "LENGTH counts the elements of a list only");
}

Result selectionBuiltin(std::string_view name, Arguments arguments, Refusal& refusal) {
  const bool is_name = name == "SSNAME";
  const std::string advice =
      "SSGET answers nil when it finds nothing: test it before, as in (IF SET (SSLENGTH SET) 0)";
  if (arguments.size() != (is_name ? 2U : 1U)) {
    return failCount(
        name,
        is_name ? "ssname expects selection set and index" : "sslength expects one selection set",
        arguments.size(), is_name ? "a selection set and an index" : "one selection set", refusal);
  }
  const auto index = is_name ? lisp::asNumber(arguments[1]) : 0.0;
  if (!index) {
    return fail(refusal, "ssname expects selection set and index", 1,
                "a number, not " + kindOf(arguments[1]), adviceForNumber(arguments[1]));
  }
  const auto set = lisp::asSelectionSet(arguments[0]);
  if (!set) {
    return fail(refusal,
                is_name ? "ssname expects a selection set" : "sslength expects a selection set", 0,
                "a selection set, not " + kindOf(arguments[0]), advice);
  }
  if (!is_name) return lisp::number(set->size() - 1);
  if (!std::isfinite(*index) || *index < 0 || std::floor(*index) != *index ||
      *index + 1 >= set->size()) {
    return lisp::nil();
  }
  return (*set)[static_cast<std::uint32_t>(*index) + 1];
}

std::optional<geometry::Point> readPoint(const LispValue& value) {
  const auto elements = lisp::asList(value);
  if (!elements || elements->size() < 2) return std::nullopt;
  const auto x = lisp::asNumber((*elements)[0]);
  const auto y = lisp::asNumber((*elements)[1]);
  if (!x || !y) return std::nullopt;
  const auto z = elements->size() > 2 ? lisp::asNumber((*elements)[2]) : std::nullopt;
  return geometry::Point{*x, *y, z.value_or(0)};
}

LispValue pointValue(const geometry::Point& point) {
  return lisp::list({lisp::number(point.x), lisp::number(point.y), lisp::number(point.z)});
}

Result failPoint(std::string message, std::size_t argument, const LispValue& value,
                 Refusal& refusal) {
  return fail(refusal, std::move(message), argument,
              "a point, a list of two or three numbers, not " + kindOf(value),
              value.kind() == lisp::ValueKind::Nil
                  ? "nil comes from a point that nobody has picked: test for it before"
                  : "make a point of numbers with (LIST X Y), or of constants with '(1 2)");
}

Result planeBuiltin(std::string_view name, Arguments arguments, Refusal& refusal) {
  const std::string prefix(name);
  const bool is_polar = name == "POLAR";
  if (arguments.size() != (is_polar ? 3U : 2U)) {
    return failCount(name, prefix + " argument count", arguments.size(),
                     is_polar ? "a point, an angle and a distance" : "two points", refusal);
  }
  const auto p = readPoint(arguments[0]);
  if (!p) return failPoint(prefix + " expects point list", 0, arguments[0], refusal);
  if (!is_polar) {
    const auto q = readPoint(arguments[1]);
    if (!q) return failPoint(prefix + " expects point list", 1, arguments[1], refusal);
    const double dx = lisp::difference(q->x, p->x);
    const double dy = lisp::difference(q->y, p->y);
    if (name == "DISTANCE") return lisp::number(lisp::settleNan(std::hypot(dx, dy), dx, dy));
    return lisp::number(lisp::settleNan(std::atan2(dy, dx), dy, dx));
  }
  if (const auto culprit = firstNonNumber(arguments.subspan(1))) {
    return fail(refusal, "polar expects point, angle, distance", *culprit + 1,
                "a number, not " + kindOf(arguments[*culprit + 1]),
                adviceForNumber(arguments[*culprit + 1]));
  }
  const double angle = *lisp::asNumber(arguments[1]);
  const double reach = *lisp::asNumber(arguments[2]);
  const double cosine = lisp::settleNan(std::cos(angle), angle, angle);
  const double sine = lisp::settleNan(std::sin(angle), angle, angle);
  return pointValue({lisp::sum(p->x, lisp::product(reach, cosine)),
                     lisp::sum(p->y, lisp::product(reach, sine)), p->z});
}

std::optional<std::size_t> readSystem(const LispValue& value) {
  const auto code = lisp::asNumber(value);
  if (!code || !(*code > -1 && *code < double{geometry::kSystemCount})) return std::nullopt;
  return static_cast<std::size_t>(std::trunc(*code));
}

Result trans(Arguments arguments, const geometry::CoordContext* context, Refusal& refusal) {
  const std::string message = "trans requires point, source, target and registered context";
  if (arguments.size() < 3 || arguments.size() > 4) {
    return failCount("TRANS", message, arguments.size(), "a point and two systems", refusal);
  }
  if (context == nullptr) {
    return fail(refusal, message, std::nullopt, "a program that runs under a coordinate context",
                "the host registers one; a library runs without");
  }
  const auto point = readPoint(arguments[0]);
  if (!point) {
    return failPoint("trans coordinate arguments invalid", 0, arguments[0], refusal);
  }
  const auto source = readSystem(arguments[1]);
  const auto target = readSystem(arguments[2]);
  if (!source || !target) {
    return fail(refusal, "trans coordinate arguments invalid", source ? 2 : 1,
                "the number of a system, 0 to 4", "0 is the world; the host defines the others");
  }
  const auto converted = geometry::convert(*context, *point, *source, *target);
  if (!converted) {
    return fail(refusal, "trans transform is singular", std::nullopt,
                "a system that can be converted into, and finite coordinates",
                "system " + std::to_string(*target) +
                    " has axes on one line or a z scale of 0, or a coordinate is infinite");
  }
  return pointValue(*converted);
}

}  // namespace

std::optional<LispValue> callBuiltin(std::string_view name, Arguments arguments,
                                     const geometry::CoordContext* context, Refusal& refusal) {
  if (name == "+" || name == "-" || name == "*" || name == "/") {
    return arithmetic(name, arguments, refusal);
  }
  if (name == "1+" || name == "1-") return step(name, arguments, refusal);
  if (name == "CAR" || name == "CDR") return carCdr(name, arguments);
  if (name == "CONS") return cons(arguments, refusal);
  if (name == "LIST") return lisp::list(arguments);
  if (name == "LENGTH") return length(arguments, refusal);
  if (name == "EQ" || name == "EQUAL") {
    if (arguments.size() == 2) return truthOf(lisp::valuesEqual(arguments[0], arguments[1]));
    return failCount(name, std::string(name) + " expects two arguments", arguments.size(),
                     "two arguments", refusal);
  }
  if (name == "SSLENGTH" || name == "SSNAME") return selectionBuiltin(name, arguments, refusal);
  if (name == "DISTANCE" || name == "ANGLE" || name == "POLAR") {
    return planeBuiltin(name, arguments, refusal);
  }
  if (name == "TRANS") return trans(arguments, context, refusal);
  if (name == "PRINC" || name == "PRIN1") {
    return arguments.empty() ? lisp::nil() : arguments.back();
  }
  return compare(name, arguments, refusal);
}

}  // namespace explain
