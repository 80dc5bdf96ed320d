// The functions of real numbers that come from the C library of the system.
//
// All other arithmetic gives the same bits everywhere. These may differ in the last place from one
// system to another; docs/PROTOCOL.md says how often they do. They treat zeros, infinities and NaN
// as the functions of C of the same meaning.

#ifndef GEOMETRY_ELEMENTARY_FUNCTIONS_H_
#define GEOMETRY_ELEMENTARY_FUNCTIONS_H_

namespace geometry {

// The distance of (x, y) from the origin.
[[nodiscard]] double hypotenuse(double x, double y);

// The direction of (x, y) seen from the origin, in radians, from -pi to pi.
[[nodiscard]] double arc_tangent(double y, double x);

// Of an angle in radians, however large.
[[nodiscard]] double sine(double angle);
[[nodiscard]] double cosine(double angle);

}  // namespace geometry

#endif  // GEOMETRY_ELEMENTARY_FUNCTIONS_H_
