#include "geometry/geometric_request.h"

#include <algorithm>
#include <cmath>
#include <span>

#include "geometry/elementary_functions.h"

namespace geometry {
namespace {

bool is_known(std::uint8_t operation) {
  return operation >= static_cast<std::uint8_t>(GeometricOperation::Sum) &&
         operation <= static_cast<std::uint8_t>(GeometricOperation::Polar);
}

bool takes_count(GeometricOperation operation, std::size_t count) {
  switch (operation) {
    case GeometricOperation::Sum:
    case GeometricOperation::Difference:
    case GeometricOperation::Product:
      return count >= 1;
    case GeometricOperation::Quotient:
      return count >= 2;
    case GeometricOperation::Distance:
    case GeometricOperation::Angle:
    case GeometricOperation::Polar:
      return count == 4;
  }
  return false;
}

GeometricResult failure(GeometricOutcome outcome) { return {.outcome = outcome}; }

// What was computed is sent even when it is not finite.
GeometricResult computed(double x, double y = 0) {
  const bool finite = std::isfinite(x) && std::isfinite(y);
  return {.outcome = finite ? GeometricOutcome::Computed : GeometricOutcome::Degenerate,
          .x = x,
          .y = y};
}

GeometricResult sum(std::span<const double> operands) {
  double total = 0;
  for (const double operand : operands) total += operand;
  return computed(total);
}

GeometricResult difference(std::span<const double> operands) {
  double rest = operands[0];
  for (const double operand : operands.subspan(1)) rest -= operand;
  return computed(rest);
}

GeometricResult product(std::span<const double> operands) {
  double total = 1;
  for (const double operand : operands) total *= operand;
  return computed(total);
}

// A divisor too close to 0 decides, whatever an earlier division gave.
GeometricResult quotient(std::span<const double> operands) {
  double rest = operands[0];
  for (const double divisor : operands.subspan(1)) {
    if (std::abs(divisor) <= kZeroDivisorMax) return failure(GeometricOutcome::Degenerate);
    rest /= divisor;
  }
  return computed(rest);
}

// hypot(x2 - x1, y2 - y1)
GeometricResult distance(std::span<const double> operands) {
  const double x1 = operands[0], y1 = operands[1], x2 = operands[2], y2 = operands[3];
  return computed(hypotenuse(x2 - x1, y2 - y1));
}

// atan2(y2 - y1, x2 - x1)
GeometricResult angle(std::span<const double> operands) {
  const double x1 = operands[0], y1 = operands[1], x2 = operands[2], y2 = operands[3];
  return computed(arc_tangent(y2 - y1, x2 - x1));
}

// (x + r*cos(phi), y + r*sin(phi))
GeometricResult polar(std::span<const double> operands) {
  const double x = operands[0], y = operands[1], phi = operands[2], r = operands[3];
  return computed(x + r * cosine(phi), y + r * sine(phi));
}

}  // namespace

GeometricResult compute_geometric_request(const GeometricRequest& request) {
  // A host sees which check failed first: keep this order.
  if (request.count > kOperandCountMax) return failure(GeometricOutcome::BadOperands);
  const std::span<const double> operands(request.operands.data(), request.count);
  const auto is_finite = [](double operand) { return std::isfinite(operand); };
  if (!std::ranges::all_of(operands, is_finite)) return failure(GeometricOutcome::BadOperands);
  if (!is_known(request.operation)) return failure(GeometricOutcome::UnknownOperation);
  const auto operation = static_cast<GeometricOperation>(request.operation);
  if (!takes_count(operation, request.count)) return failure(GeometricOutcome::BadOperands);

  switch (operation) {
    case GeometricOperation::Sum:
      return sum(operands);
    case GeometricOperation::Difference:
      return difference(operands);
    case GeometricOperation::Product:
      return product(operands);
    case GeometricOperation::Quotient:
      return quotient(operands);
    case GeometricOperation::Distance:
      return distance(operands);
    case GeometricOperation::Angle:
      return angle(operands);
    case GeometricOperation::Polar:
      return polar(operands);
  }
  return failure(GeometricOutcome::UnknownOperation);
}

}  // namespace geometry
