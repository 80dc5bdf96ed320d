// The builtin functions, found by comparing the name with one candidate after another.

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <iterator>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "geometry/elementary_functions.h"
#include "testing/reference/literal_interpreter.h"

namespace lisp_worker::testing_support {
namespace {

using Arguments = std::vector<LiteralValue>;

// The result of a builtin: a value, or the message of an error.
struct BuiltinResult {
  LiteralValue value;
  std::optional<std::string> error;
};

BuiltinResult give(LiteralValue value) { return BuiltinResult{std::move(value), std::nullopt}; }
BuiltinResult fail(std::string message) { return BuiltinResult{literalNil(), std::move(message)}; }

LiteralValue truthOf(bool holds) { return holds ? literalTruth() : literalNil(); }

// Arithmetic in which a NaN is that of the first operand that is one, and one that comes of
// numbers has its sign bit set: what x86-64 processors do while the operands stay in the written
// order. A compiler is free to exchange those of a sum, which shows when both are NaN and differ in
// sign.
double settled(double result, double a, double b) {
  if (!std::isnan(result)) return result;
  if (std::isnan(a)) return a;
  if (std::isnan(b)) return b;
  return std::copysign(result, -1.0);
}

double sum(double a, double b) { return settled(a + b, a, b); }
double difference(double a, double b) { return settled(a - b, a, b); }
double product(double a, double b) { return settled(a * b, a, b); }
double quotient(double a, double b) { return settled(a / b, a, b); }

bool allNumbers(const Arguments& arguments) {
  for (const LiteralValue& argument : arguments) {
    if (argument.kind != LiteralKind::Number) return false;
  }
  return true;
}

BuiltinResult sslength(const Arguments& arguments) {
  if (arguments.size() != 1) return fail("sslength expects one selection set");
  if (!literalIsSelectionSet(arguments[0])) return fail("sslength expects a selection set");
  return give(literalNumber(static_cast<double>(arguments[0].elements.size() - 1)));
}

BuiltinResult ssname(const Arguments& arguments) {
  if (arguments.size() != 2 || arguments[1].kind != LiteralKind::Number) {
    return fail("ssname expects selection set and index");
  }
  if (!literalIsSelectionSet(arguments[0])) return fail("ssname expects a selection set");
  const double index = arguments[1].number;
  if (!std::isfinite(index) || index < 0 || std::floor(index) != index) return give(literalNil());
  const std::vector<LiteralValue>& elements = arguments[0].elements;
  if (index + 1.0 >= static_cast<double>(elements.size())) return give(literalNil());
  return give(elements[static_cast<std::size_t>(index) + 1]);
}

BuiltinResult plus(const Arguments& arguments) {
  if (!allNumbers(arguments)) return fail("+ expects numbers");
  double total = 0.0;
  for (const LiteralValue& argument : arguments) total = sum(total, argument.number);
  return give(literalNumber(total));
}

BuiltinResult minus(const Arguments& arguments) {
  if (arguments.empty() || !allNumbers(arguments)) return fail("- expects numbers");
  if (arguments.size() == 1) return give(literalNumber(-arguments[0].number));
  double rest = arguments[0].number;
  for (std::size_t i = 1; i < arguments.size(); ++i) rest = difference(rest, arguments[i].number);
  return give(literalNumber(rest));
}

BuiltinResult times(const Arguments& arguments) {
  if (!allNumbers(arguments)) return fail("* expects numbers");
  double total = 1.0;
  for (const LiteralValue& argument : arguments) total = product(total, argument.number);
  return give(literalNumber(total));
}

BuiltinResult divide(const Arguments& arguments) {
  if (arguments.empty() || !allNumbers(arguments)) return fail("/ expects numbers");
  double part = arguments[0].number;
  for (std::size_t i = 1; i < arguments.size(); ++i) {
    const double divisor = arguments[i].number;
    if (1e-300 >= std::fabs(divisor)) return fail("division by zero");
    part = quotient(part, divisor);
  }
  return give(literalNumber(part));
}

BuiltinResult onePlus(const Arguments& arguments) {
  if (arguments.size() != 1 || arguments[0].kind != LiteralKind::Number) {
    return fail("1+ expects one number");
  }
  return give(literalNumber(sum(arguments[0].number, 1.0)));
}

BuiltinResult oneMinus(const Arguments& arguments) {
  if (arguments.size() != 1 || arguments[0].kind != LiteralKind::Number) {
    return fail("1- expects one number");
  }
  return give(literalNumber(difference(arguments[0].number, 1.0)));
}

bool isOneNonEmptyList(const Arguments& arguments) {
  return arguments.size() == 1 && arguments[0].kind == LiteralKind::List &&
         !arguments[0].elements.empty();
}

BuiltinResult car(const Arguments& arguments) {
  if (!isOneNonEmptyList(arguments)) return give(literalNil());
  return give(arguments[0].elements[0]);
}

BuiltinResult cdr(const Arguments& arguments) {
  if (!isOneNonEmptyList(arguments)) return give(literalNil());
  const std::vector<LiteralValue>& elements = arguments[0].elements;
  return give(literalList({elements.begin() + 1, elements.end()}));
}

BuiltinResult cons(const Arguments& arguments) {
  if (arguments.size() != 2) return fail("cons expects two arguments");
  std::vector<LiteralValue> elements = {arguments[0]};
  const LiteralValue& rest = arguments[1];
  if (rest.kind == LiteralKind::List) {
    elements.insert(elements.end(), rest.elements.begin(), rest.elements.end());
  } else if (rest.kind != LiteralKind::Nil) {
    elements.push_back(rest);
  }
  return give(literalList(std::move(elements)));
}

BuiltinResult length(const Arguments& arguments) {
  if (arguments.size() != 1 || arguments[0].kind != LiteralKind::List) {
    return fail("length expects list");
  }
  return give(literalNumber(static_cast<double>(arguments[0].elements.size())));
}

BuiltinResult equal(const std::string& name, const Arguments& arguments) {
  if (arguments.size() != 2) return fail(name + " expects two arguments");
  return give(truthOf(literalValuesEqual(arguments[0], arguments[1])));
}

BuiltinResult compare(const std::string& name, const Arguments& arguments) {
  if (arguments.size() != 2 || !allNumbers(arguments)) return fail(name + " expects two numbers");
  const double a = arguments[0].number;
  const double b = arguments[1].number;
  if (name == "=") return give(truthOf(a == b));
  if (name == "/=") return give(truthOf(a != b));
  if (name == "<") return give(truthOf(a < b));
  if (name == ">") return give(truthOf(a > b));
  if (name == "<=") return give(truthOf(a <= b));
  return give(truthOf(a >= b));
}

BuiltinResult print(const Arguments& arguments) {
  if (arguments.empty()) return give(literalNil());
  return give(arguments.back());
}

std::optional<LiteralPoint> readPoint(const LiteralValue& value) {
  if (value.kind != LiteralKind::List || value.elements.size() < 2) return std::nullopt;
  const std::vector<LiteralValue>& elements = value.elements;
  if (elements[0].kind != LiteralKind::Number) return std::nullopt;
  if (elements[1].kind != LiteralKind::Number) return std::nullopt;
  LiteralPoint point{elements[0].number, elements[1].number, 0.0};
  if (elements.size() >= 3 && elements[2].kind == LiteralKind::Number) {
    point.z = elements[2].number;
  }
  return point;
}

LiteralValue pointList(double x, double y, double z) {
  return literalList({literalNumber(x), literalNumber(y), literalNumber(z)});
}

BuiltinResult distance(const Arguments& arguments) {
  if (arguments.size() != 2) return fail("DISTANCE argument count");
  const std::optional<LiteralPoint> from = readPoint(arguments[0]);
  const std::optional<LiteralPoint> to = readPoint(arguments[1]);
  if (!from.has_value() || !to.has_value()) return fail("DISTANCE expects point list");
  const double dx = difference(to->x, from->x);
  const double dy = difference(to->y, from->y);
  return give(literalNumber(settled(geometry::hypotenuse(dx, dy), dx, dy)));
}

BuiltinResult angle(const Arguments& arguments) {
  if (arguments.size() != 2) return fail("ANGLE argument count");
  const std::optional<LiteralPoint> from = readPoint(arguments[0]);
  const std::optional<LiteralPoint> to = readPoint(arguments[1]);
  if (!from.has_value() || !to.has_value()) return fail("ANGLE expects point list");
  const double dx = difference(to->x, from->x);
  const double dy = difference(to->y, from->y);
  return give(literalNumber(settled(geometry::arc_tangent(dy, dx), dy, dx)));
}

BuiltinResult polar(const Arguments& arguments) {
  if (arguments.size() != 3) return fail("POLAR argument count");
  const std::optional<LiteralPoint> base = readPoint(arguments[0]);
  if (!base.has_value()) return fail("POLAR expects point list");
  if (arguments[1].kind != LiteralKind::Number || arguments[2].kind != LiteralKind::Number) {
    return fail("polar expects point, angle, distance");
  }
  const double direction = arguments[1].number;
  const double reach = arguments[2].number;
  const double cosine = settled(geometry::cosine(direction), direction, direction);
  const double sine = settled(geometry::sine(direction), direction, direction);
  return give(
      pointList(sum(base->x, product(reach, cosine)), sum(base->y, product(reach, sine)), base->z));
}

// A system code: truncated toward zero, then 0 to 4.
std::optional<std::size_t> readSystemCode(const LiteralValue& value) {
  if (value.kind != LiteralKind::Number) return std::nullopt;
  const double whole = std::trunc(value.number);
  if (!(whole >= 0.0 && whole <= 4.0)) return std::nullopt;
  return static_cast<std::size_t>(whole);
}

BuiltinResult trans(const LiteralContext* context, const Arguments& arguments) {
  if (arguments.size() < 3 || arguments.size() > 4 || context == nullptr) {
    return fail("trans requires point, source, target and registered context");
  }
  const std::optional<LiteralPoint> point = readPoint(arguments[0]);
  const std::optional<std::size_t> source = readSystemCode(arguments[1]);
  const std::optional<std::size_t> target = readSystemCode(arguments[2]);
  if (!point.has_value() || !source.has_value() || !target.has_value()) {
    return fail("trans coordinate arguments invalid");
  }
  const std::optional<LiteralPoint> converted = literalConvert(*context, *point, *source, *target);
  if (!converted.has_value()) return fail("trans transform is singular");
  return give(pointList(converted->x, converted->y, converted->z));
}

bool isHostBuiltin(const std::string& name) {
  static const char* const kNames[] = {"GETPOINT", "GETCORNER", "GETDIST", "SSGET",
                                       "ENTGET",   "ENTMOD",    "ENTMAKE", "ENTMAKEX",
                                       "COMMAND",  "COMMAND-S", "OSNAP"};
  return std::find(std::begin(kNames), std::end(kNames), name) != std::end(kNames);
}

// Empty when no builtin has the name.
std::optional<BuiltinResult> applyBuiltin(const std::string& name, const LiteralContext* context,
                                          const Arguments& arguments) {
  if (name == "SSLENGTH") return sslength(arguments);
  if (name == "SSNAME") return ssname(arguments);
  if (name == "+") return plus(arguments);
  if (name == "-") return minus(arguments);
  if (name == "*") return times(arguments);
  if (name == "/") return divide(arguments);
  if (name == "1+") return onePlus(arguments);
  if (name == "1-") return oneMinus(arguments);
  if (name == "LIST") return give(literalList(arguments));
  if (name == "CAR") return car(arguments);
  if (name == "CDR") return cdr(arguments);
  if (name == "CONS") return cons(arguments);
  if (name == "LENGTH") return length(arguments);
  if (name == "EQ" || name == "EQUAL") return equal(name, arguments);
  if (name == "=" || name == "/=" || name == "<" || name == ">" || name == "<=" || name == ">=") {
    return compare(name, arguments);
  }
  if (name == "DISTANCE") return distance(arguments);
  if (name == "ANGLE") return angle(arguments);
  if (name == "POLAR") return polar(arguments);
  if (name == "TRANS") return trans(context, arguments);
  if (name == "PRINC" || name == "PRIN1") return print(arguments);
  return std::nullopt;
}

}  // namespace

LiteralOutcome LiteralInterpreter::callBuiltin(const std::string& name, const Items& items,
                                               LiteralEnvironment& local, std::uint32_t depth) {
  if (isHostBuiltin(name)) return callHost(name, items, local, depth);

  Arguments arguments;
  for (std::size_t i = 1; i < items.size(); ++i) {
    LiteralOutcome argument = evaluate(items[i], local, depth);
    if (argument.kind != LiteralOutcomeKind::Value) return argument;
    arguments.push_back(std::move(argument.value));
  }
  std::optional<BuiltinResult> result = applyBuiltin(name, context_, arguments);
  if (!result.has_value()) return evalError("unsupported LISP function: " + name);
  if (result->error.has_value()) return evalError(*result->error);
  return makeValue(std::move(result->value));
}

LiteralOutcome LiteralInterpreter::callHost(const std::string& name, const Items& items,
                                            LiteralEnvironment& local, std::uint32_t depth) {
  LiteralHostCall call;
  call.name = name;
  for (std::size_t i = 1; i < items.size(); ++i) {
    LiteralOutcome argument = evaluate(items[i], local, depth);
    if (argument.kind != LiteralOutcomeKind::Value) return argument;
    call.arguments.push_back(std::move(argument.value));
  }

  if (transcript_ != nullptr && replay_cursor_ < transcript_->size()) {
    const LiteralTranscriptEntry& entry = (*transcript_)[replay_cursor_];
    bool matches = entry.name == call.name && entry.arguments.size() == call.arguments.size();
    for (std::size_t i = 0; matches && i < call.arguments.size(); ++i) {
      matches = literalValuesEqual(entry.arguments[i], call.arguments[i]);
    }
    if (!matches) {
      return evalError("LISP host replay divergence at call " + std::to_string(replay_cursor_ + 1) +
                       ": " + name);
    }
    ++replay_cursor_;
    return makeValue(entry.answer);
  }

  LiteralOutcome outcome =
      makeError(LiteralOutcomeKind::HostCallRequired, "CAD host call required: " + name);
  outcome.host_call = std::move(call);
  return outcome;
}

}  // namespace lisp_worker::testing_support
