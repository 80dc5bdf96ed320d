// Each builtin checks in the order in which its errors are to be found: count, points, numbers. A
// NaN in a result gets a sign by the rule of lisp/arithmetic.h, since the sign shows in its text.

#include "geometry/builtins.h"

#include <array>
#include <cmath>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "geometry/coord_context.h"
#include "geometry/elementary_functions.h"
#include "geometry/transforms.h"
#include "lisp/arithmetic.h"
#include "lisp/interpreter.h"
#include "lisp/list.h"
#include "lisp/value.h"

namespace geometry {
namespace {

using lisp::Builtin;
using lisp::BuiltinCall;
using lisp::Interpreter;
using lisp::LispValue;
using lisp::RawValue;
using lisp::Result;

Result fail_with_name(Interpreter& interpreter, const BuiltinCall& call, std::string_view suffix) {
  return interpreter.fail(std::string(call.name).append(suffix));
}

Result fail_count(Interpreter& interpreter, const BuiltinCall& call) {
  return fail_with_name(interpreter, call, " argument count");
}

Result fail_point(Interpreter& interpreter, const BuiltinCall& call) {
  return fail_with_name(interpreter, call, " expects point list");
}

Result make_point(const Point& point) {
  const std::array coordinates = {RawValue::ofNumber(point.x), RawValue::ofNumber(point.y),
                                  RawValue::ofNumber(point.z)};
  return lisp::makeList(coordinates.data(), coordinates.size());
}

// hypot(x2 - x1, y2 - y1): points that differ in z alone have distance 0.
Result distance(Interpreter& interpreter, const BuiltinCall& call) {
  if (call.arguments.size() != 2) return fail_count(interpreter, call);
  const std::optional<Point> from = read_point(call.arguments[0]);
  const std::optional<Point> to = read_point(call.arguments[1]);
  if (!from.has_value() || !to.has_value()) return fail_point(interpreter, call);
  const double dx = lisp::difference(to->x, from->x);
  const double dy = lisp::difference(to->y, from->y);
  return lisp::number(lisp::settleNan(hypotenuse(dx, dy), dx, dy));
}

// atan2(y2 - y1, x2 - x1), in radians from -pi to pi
Result angle(Interpreter& interpreter, const BuiltinCall& call) {
  if (call.arguments.size() != 2) return fail_count(interpreter, call);
  const std::optional<Point> from = read_point(call.arguments[0]);
  const std::optional<Point> to = read_point(call.arguments[1]);
  if (!from.has_value() || !to.has_value()) return fail_point(interpreter, call);
  const double dx = lisp::difference(to->x, from->x);
  const double dy = lisp::difference(to->y, from->y);
  return lisp::number(lisp::settleNan(arc_tangent(dy, dx), dy, dx));
}

// (x + r*cos(phi), y + r*sin(phi), z)
Result polar(Interpreter& interpreter, const BuiltinCall& call) {
  if (call.arguments.size() != 3) return fail_count(interpreter, call);
  const std::optional<Point> base = read_point(call.arguments[0]);
  if (!base.has_value()) return fail_point(interpreter, call);
  const std::optional<double> phi = lisp::asNumber(call.arguments[1]);
  const std::optional<double> r = lisp::asNumber(call.arguments[2]);
  if (!phi.has_value() || !r.has_value()) {
    return interpreter.fail("polar expects point, angle, distance");
  }
  const double phi_cosine = lisp::settleNan(cosine(*phi), *phi, *phi);
  const double phi_sine = lisp::settleNan(sine(*phi), *phi, *phi);
  return make_point({
      .x = lisp::sum(base->x, lisp::product(*r, phi_cosine)),
      .y = lisp::sum(base->y, lisp::product(*r, phi_sine)),
      .z = base->z,
  });
}

// A fourth argument is accepted and ignored.
Result trans(Interpreter& interpreter, const BuiltinCall& call) {
  const std::size_t argument_count = call.arguments.size();
  const CoordContext* const context = interpreter.context();
  if (argument_count < 3 || argument_count > 4 || context == nullptr) {
    return interpreter.fail("trans requires point, source, target and registered context");
  }
  const std::optional<Point> point = read_point(call.arguments[0]);
  const std::optional<std::size_t> source = read_system_code(call.arguments[1]);
  const std::optional<std::size_t> target = read_system_code(call.arguments[2]);
  if (!point.has_value() || !source.has_value() || !target.has_value()) {
    return interpreter.fail("trans coordinate arguments invalid");
  }
  const std::optional<Point> converted = convert(*context, *point, *source, *target);
  if (!converted.has_value()) return interpreter.fail("trans transform is singular");
  return make_point(*converted);
}

// GCC 12 would leave a std::array of deduced size writable while the worker runs.
constexpr Builtin kGeometryBuiltins[] = {
    Builtin{"DISTANCE", distance},
    Builtin{"ANGLE", angle},
    Builtin{"POLAR", polar},
    Builtin{"TRANS", trans},
};

}  // namespace

std::optional<Point> read_point(const LispValue& value) {
  const std::optional<lisp::LispList> elements = lisp::asList(value);
  if (!elements.has_value() || elements->size() < 2) return std::nullopt;
  auto element = elements->begin();
  const std::optional<double> x = lisp::asNumber(*element);
  const std::optional<double> y = lisp::asNumber(*++element);
  if (!x.has_value() || !y.has_value()) return std::nullopt;
  const bool has_third = elements->size() > 2;
  const std::optional<double> z = has_third ? lisp::asNumber(*++element) : std::nullopt;
  return Point{.x = *x, .y = *y, .z = z.value_or(0)};
}

std::optional<std::size_t> read_system_code(const LispValue& value) {
  const std::optional<double> code = lisp::asNumber(value);
  const bool names_system = code.has_value() && *code > -1 && *code < double{kSystemCount};
  if (!names_system) return std::nullopt;
  return static_cast<std::size_t>(std::trunc(*code));
}

std::span<const Builtin> geometry_builtins() { return kGeometryBuiltins; }

}  // namespace geometry
