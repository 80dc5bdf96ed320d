// A table has each operation's formula and how many operands it takes. The formulas are computed in
// the written order, so that their rounding is the same everywhere.

#include "geometry/geometric_request.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <span>

#include "geometry/elementary_functions.h"
#include "lisp/arithmetic.h"

namespace geometry {
namespace {

GeometryResult failure(GeometryOutcome outcome) { return {.outcome = outcome}; }

// A result is sent even when it is not finite.
GeometryResult computed(double x, double y = 0) {
  const bool finite = std::isfinite(x) && std::isfinite(y);
  return {
      .outcome = finite ? GeometryOutcome::Computed : GeometryOutcome::Degenerate, .x = x, .y = y};
}

GeometryResult sum(std::span<const double> operands) {
  double total = 0;
  for (const double operand : operands) total += operand;
  return computed(total);
}

GeometryResult difference(std::span<const double> operands) {
  double rest = operands[0];
  for (const double operand : operands.subspan(1)) rest -= operand;
  return computed(rest);
}

GeometryResult product(std::span<const double> operands) {
  double total = 1;
  for (const double operand : operands) total *= operand;
  return computed(total);
}

// A divisor too close to 0 decides, also after an earlier division that overflowed.
GeometryResult quotient(std::span<const double> operands) {
  double rest = operands[0];
  for (const double divisor : operands.subspan(1)) {
    if (lisp::isRefusedDivisor(divisor)) return failure(GeometryOutcome::Degenerate);
    rest /= divisor;
  }
  return computed(rest);
}

// hypot(x2 - x1, y2 - y1)
GeometryResult distance(std::span<const double> operands) {
  const double x1 = operands[0], y1 = operands[1], x2 = operands[2], y2 = operands[3];
  return computed(hypotenuse(x2 - x1, y2 - y1));
}

// atan2(y2 - y1, x2 - x1)
GeometryResult angle(std::span<const double> operands) {
  const double x1 = operands[0], y1 = operands[1], x2 = operands[2], y2 = operands[3];
  return computed(arc_tangent(y2 - y1, x2 - x1));
}

// (x + r*cos(phi), y + r*sin(phi))
GeometryResult polar(std::span<const double> operands) {
  const double x = operands[0], y = operands[1], phi = operands[2], r = operands[3];
  return computed(x + r * cosine(phi), y + r * sine(phi));
}

// The number of operands that an operation takes, and its function.
struct Formula {
  std::size_t count_min;
  std::size_t count_max;
  GeometryResult (*compute)(std::span<const double> operands);
};

// In the order of GeometryOperation, whose first is 1.
constexpr std::array kFormulas = {
    Formula{1, kOperandCountMax, sum},
    Formula{1, kOperandCountMax, difference},
    Formula{1, kOperandCountMax, product},
    Formula{2, kOperandCountMax, quotient},
    Formula{4, 4, distance},
    Formula{4, 4, angle},
    Formula{4, 4, polar},
};
static_assert(kFormulas.size() == static_cast<std::size_t>(GeometryOperation::Polar));

}  // namespace

GeometryResult compute_geometric_request(const GeometryRequest& request) {
  // A host sees which check failed first: keep this order.
  if (request.count > kOperandCountMax) return failure(GeometryOutcome::BadOperands);
  const std::span<const double> operands(request.operands.data(), request.count);
  const auto is_finite = [](double operand) { return std::isfinite(operand); };
  if (!std::ranges::all_of(operands, is_finite)) return failure(GeometryOutcome::BadOperands);
  if (request.operation == 0 || request.operation > kFormulas.size()) {
    return failure(GeometryOutcome::UnknownOperation);
  }
  const Formula& formula = kFormulas[request.operation - std::size_t{1}];
  if (request.count < formula.count_min || request.count > formula.count_max) {
    return failure(GeometryOutcome::BadOperands);
  }
  return formula.compute(operands);
}

}  // namespace geometry
