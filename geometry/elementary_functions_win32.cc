// The compiler's own library stands before the system's, and computes with the processor's 80-bit
// numbers. For a hypotenuse or an arc tangent that is as good as it gets. But the processor takes
// angles modulo a pi of 66 bits: next to a multiple of pi most digits are wrong, and beyond 2^63
// all. The system's library reduces angles in full, so sine and cosine are called there.

#include <cmath>

#include "geometry/elementary_functions.h"

extern "C" {
__declspec(dllimport) double __cdecl sin(double angle) noexcept;
__declspec(dllimport) double __cdecl cos(double angle) noexcept;
}

namespace geometry {

double hypotenuse(double x, double y) {
  return static_cast<double>(std::hypot(static_cast<long double>(x), static_cast<long double>(y)));
}

double arc_tangent(double y, double x) { return std::atan2(y, x); }

double sine(double angle) { return ::sin(angle); }

double cosine(double angle) { return ::cos(angle); }

}  // namespace geometry
