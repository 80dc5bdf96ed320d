// The C library's functions as they are.

#include <cmath>

#include "geometry/elementary_functions.h"

namespace geometry {

double hypotenuse(double x, double y) { return std::hypot(x, y); }

double arc_tangent(double y, double x) { return std::atan2(y, x); }

double sine(double angle) { return std::sin(angle); }

double cosine(double angle) { return std::cos(angle); }

}  // namespace geometry
