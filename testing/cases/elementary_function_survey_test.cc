// The elementary functions on random arguments. The results are recorded, so that builds for
// different systems, and with them their C libraries, can be compared: tools/compare_responses says
// how many results differ, and refuses a difference of more than the last place.

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <functional>
#include <string>

#include "geometry/elementary_functions.h"
#include "lisp_worker/worker/frame.h"
#include "testing/base/random.h"
#include "testing/base/response_record.h"

namespace lisp_worker::testing_support {
namespace {

constexpr int kCount = 200'000;

// Half of them from -1000 to 1000, a quarter from -7 to 7, a quarter any finite number.
double someArgument(Random& random) {
  const double fraction = static_cast<double>(random.bits() >> 11) * 0x1p-52 - 1;  // -1 to 1.
  if (random.chance(1, 2)) return fraction * 1000;
  if (random.chance(1, 2)) return fraction * 7;
  double value = 0;
  do {
    value = std::bit_cast<double>(random.bits());
  } while (!std::isfinite(value));
  return value;
}

void survey(const std::function<double(double, double)>& function) {
  Random random(5);
  std::string results;
  for (int i = 0; i < kCount; ++i) {
    const double x = someArgument(random);
    const double y = someArgument(random);
    const double result = function(x, y);
    ASSERT_FALSE(std::isnan(result)) << x << ' ' << y;
    char bytes[sizeof result];
    worker::putF64(bytes, result);
    results.append(bytes, sizeof bytes);
  }
  recordResponse(results);
}

TEST(ElementaryFunctionSurvey, Hypotenuse) { survey(geometry::hypotenuse); }

TEST(ElementaryFunctionSurvey, ArcTangent) { survey(geometry::arc_tangent); }

TEST(ElementaryFunctionSurvey, Sine) {
  survey([](double x, double) { return geometry::sine(x); });
}

TEST(ElementaryFunctionSurvey, Cosine) {
  survey([](double x, double) { return geometry::cosine(x); });
}

}  // namespace
}  // namespace lisp_worker::testing_support
