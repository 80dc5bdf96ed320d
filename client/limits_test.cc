#include "lisp_worker/client/limits.h"

#include <gtest/gtest.h>

namespace lisp_worker::client {
namespace {

TEST(LimitWarnings, BeginAtNineTenthsOfTheSteps) {
  EXPECT_TRUE(limitWarnings({.steps = 224999}).empty());
  EXPECT_EQ(limitWarnings({.steps = 225000}),
            (std::vector{LimitWarning{Limit::Steps, 225000, 250000}}));
  EXPECT_EQ(limitWarnings({.steps = 250001}).size(), 1u);
}

TEST(LimitWarnings, BeginAtNineTenthsOfTheResponse) {
  EvalResult result;
  result.text.assign(943719 - 64 - 1, 'x');  // 0.9 * 1048576 is 943718.4.
  EXPECT_TRUE(limitWarnings(result).empty());
  result.text += 'x';
  EXPECT_EQ(limitWarnings(result),
            (std::vector{LimitWarning{Limit::ResponseSize, 943719, 1048576}}));
  result.steps = 250000;
  EXPECT_EQ(limitWarnings(result).size(), 2u);
}

TEST(LimitWarnings, AreToldInWords) {
  EXPECT_EQ(describeWarning({Limit::Steps, 240000, 250000}),
            "the evaluation took 240000 of 250000 steps");
  EXPECT_EQ(describeWarning({Limit::ResponseSize, 1000000, 1048576}),
            "the response took 1000000 of 1048576 bytes");
}

}  // namespace
}  // namespace lisp_worker::client
