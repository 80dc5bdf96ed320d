#include "geometry/builtins.h"

#include <gtest/gtest.h>

#include <bit>
#include <cstdint>
#include <limits>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "geometry/coord_context.h"
#include "lisp/builtin.h"
#include "lisp/environment.h"
#include "lisp/interpreter.h"
#include "lisp/reader.h"

namespace geometry {
namespace {

using lisp::EvalOutcome;
using lisp::LispValue;
using lisp::OutcomeKind;

constexpr double kPi = 3.141592653589793;

// Evaluates one form under `context`.
EvalOutcome evaluate(const std::string& text, const CoordContext* context) {
  lisp::installBuiltins(lisp::coreBuiltins());
  lisp::installBuiltins(geometry_builtins());
  std::string error;
  const std::optional<LispValue> form = lisp::parseProgram(text, &error);
  EXPECT_TRUE(form.has_value()) << error;
  EvalOutcome outcome;
  if (!form.has_value()) return outcome;
  const lisp::Environment environment;
  lisp::Interpreter interpreter(environment, context, nullptr);
  interpreter.start({});
  lisp::Result result = interpreter.evaluate(*form, 0);
  if (result.failed()) return interpreter.takeFailure();
  outcome.value = LispValue::adopt(result.take());
  return outcome;
}

void expect_number(const EvalOutcome& outcome, double expected) {
  ASSERT_EQ(outcome.kind, OutcomeKind::Value) << outcome.message;
  const std::optional<double> actual = lisp::asNumber(outcome.value);
  ASSERT_TRUE(actual.has_value());
  EXPECT_EQ(std::bit_cast<std::uint64_t>(*actual), std::bit_cast<std::uint64_t>(expected))
      << *actual << " is not " << expected;
}

void expect_numbers(const EvalOutcome& outcome, const std::vector<double>& expected) {
  ASSERT_EQ(outcome.kind, OutcomeKind::Value) << outcome.message;
  const std::optional<lisp::LispList> elements = lisp::asList(outcome.value);
  ASSERT_TRUE(elements.has_value());
  ASSERT_EQ(elements->size(), expected.size());
  for (std::uint32_t i = 0; i < elements->size(); ++i) {
    EXPECT_EQ(lisp::asNumber((*elements)[i]), expected[i]) << "element " << i;
  }
}

void expect_error(const EvalOutcome& outcome, const std::string& message) {
  EXPECT_EQ(outcome.kind, OutcomeKind::EvalError);
  EXPECT_EQ(outcome.message, message);
}

struct NumberRow {
  std::string form;
  double expected;

  friend void PrintTo(const NumberRow& row, std::ostream* out) { *out << row.form; }
};

class GeometricBuiltinNumbers : public testing::TestWithParam<NumberRow> {};

TEST_P(GeometricBuiltinNumbers, AreAsDefined) {
  expect_number(evaluate(GetParam().form, nullptr), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(
    Distance, GeometricBuiltinNumbers,
    testing::Values(NumberRow{"(DISTANCE '(0 0) '(3 4))", 5},
                    NumberRow{"(DISTANCE '(3 4) '(0 0))", 5},
                    NumberRow{"(DISTANCE '(1 2 3) '(1 2 3))", 0},
                    // z does not count.
                    NumberRow{"(DISTANCE '(0 0 0) '(0 0 5))", 0},
                    NumberRow{"(DISTANCE '(0 0) '(0 0 5))", 0},
                    // A third element that is not a number, and further ones, are ignored.
                    NumberRow{"(DISTANCE '(0 0 \"Z\") '(3 4 Z))", 5},
                    NumberRow{"(DISTANCE '(0 0 0 X) '(3 4 0 (1 2) nil))", 5},
                    // Squares would overflow.
                    NumberRow{"(DISTANCE '(0 0) '(1e200 0))", 1e200},
                    NumberRow{"(DISTANCE '(-1.7e308 0) '(1.7e308 0))",
                              std::numeric_limits<double>::infinity()}));

// The NaN of the first operand, by its sign: dx before dy, and for an angle dy before dx.
constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
const std::string kNegative = "(- (* 1e200 1e200) (* 1e200 1e200))";
const std::string kPositive = "(- " + kNegative + ")";

INSTANTIATE_TEST_SUITE_P(
    TwoNans, GeometricBuiltinNumbers,
    testing::Values(NumberRow{"(DISTANCE '(0 0) (LIST " + kNegative + " " + kPositive + "))",
                              -kNan},
                    NumberRow{"(DISTANCE '(0 0) (LIST " + kPositive + " " + kNegative + "))", kNan},
                    NumberRow{"(DISTANCE '(0 0) (LIST 1 " + kPositive + "))", kNan},
                    NumberRow{"(DISTANCE '(0 0) (LIST 1 " + kNegative + "))", -kNan},
                    NumberRow{"(ANGLE '(0 0) (LIST " + kNegative + " " + kPositive + "))", kNan},
                    NumberRow{"(ANGLE '(0 0) (LIST " + kPositive + " " + kNegative + "))", -kNan}));

INSTANTIATE_TEST_SUITE_P(Angle, GeometricBuiltinNumbers,
                         testing::Values(NumberRow{"(ANGLE '(0 0) '(1 0))", 0},
                                         NumberRow{"(ANGLE '(5 5) '(5 7))", kPi / 2},
                                         NumberRow{"(ANGLE '(5 5) '(4 5))", kPi},
                                         NumberRow{"(ANGLE '(5 5) '(5 4))", -kPi / 2},
                                         NumberRow{"(ANGLE '(5 5) '(4 4))", -3 * kPi / 4},
                                         NumberRow{"(ANGLE '(0 0) '(-1 -0.0))", -kPi},
                                         NumberRow{"(ANGLE '(5 5 1) '(5 5 2))", 0}));

struct ErrorRow {
  std::string form;
  std::string message;

  friend void PrintTo(const ErrorRow& row, std::ostream* out) { *out << row.form; }
};

// Errors that a registered context makes no difference to.
class GeometricBuiltinErrors : public testing::TestWithParam<ErrorRow> {};

TEST_P(GeometricBuiltinErrors, SayWhatIsWrong) {
  const CoordContext context;
  expect_error(evaluate(GetParam().form, &context), GetParam().message);
}

INSTANTIATE_TEST_SUITE_P(
    Distance, GeometricBuiltinErrors,
    testing::Values(ErrorRow{"(DISTANCE)", "DISTANCE argument count"},
                    ErrorRow{"(DISTANCE 1)", "DISTANCE argument count"},
                    ErrorRow{"(distance '(0 0) '(1 1) '(2 2))", "DISTANCE argument count"},
                    ErrorRow{"(DISTANCE 1 '(1 1))", "DISTANCE expects point list"},
                    ErrorRow{"(DISTANCE '(1 1) 1)", "DISTANCE expects point list"},
                    ErrorRow{"(DISTANCE '(1 1) nil)", "DISTANCE expects point list"},
                    ErrorRow{"(DISTANCE '(1 1) \"(1 1)\")", "DISTANCE expects point list"},
                    ErrorRow{"(DISTANCE '() '(1 1))", "DISTANCE expects point list"},
                    ErrorRow{"(DISTANCE '(1) '(1 1))", "DISTANCE expects point list"},
                    ErrorRow{"(DISTANCE '(X 1) '(1 1))", "DISTANCE expects point list"},
                    ErrorRow{"(DISTANCE '(1 nil) '(1 1))", "DISTANCE expects point list"},
                    ErrorRow{"(DISTANCE '((1 1) 1) '(1 1))", "DISTANCE expects point list"}));

// Before their number and kind, and before a context is asked for.
INSTANTIATE_TEST_SUITE_P(ArgumentsAreEvaluatedFirst, GeometricBuiltinErrors,
                         testing::Values(ErrorRow{"(DISTANCE X)", "unbound symbol: X"},
                                         ErrorRow{"(ANGLE 1 X)", "unbound symbol: X"},
                                         ErrorRow{"(POLAR X)", "unbound symbol: X"},
                                         ErrorRow{"(TRANS X)", "unbound symbol: X"},
                                         ErrorRow{"(TRANS '(1 2) 0 1 X)", "unbound symbol: X"}));

INSTANTIATE_TEST_SUITE_P(
    Angle, GeometricBuiltinErrors,
    testing::Values(ErrorRow{"(ANGLE)", "ANGLE argument count"},
                    ErrorRow{"(ANGLE '(0 0))", "ANGLE argument count"},
                    ErrorRow{"(ANGLE '(0 0) '(0 0) 1)", "ANGLE argument count"},
                    ErrorRow{"(ANGLE 0 '(0 0))", "ANGLE expects point list"},
                    ErrorRow{"(ANGLE '(0 0) '(0))", "ANGLE expects point list"}));

INSTANTIATE_TEST_SUITE_P(
    Polar, GeometricBuiltinErrors,
    testing::Values(ErrorRow{"(POLAR)", "POLAR argument count"},
                    ErrorRow{"(POLAR '(0 0) 1)", "POLAR argument count"},
                    ErrorRow{"(POLAR '(0 0) 1 2 3)", "POLAR argument count"},
                    ErrorRow{"(POLAR 0 1 2)", "POLAR expects point list"},
                    // The point is read before the angle and the distance.
                    ErrorRow{"(POLAR 0 'A 'B)", "POLAR expects point list"},
                    ErrorRow{"(POLAR '(0 0) 'A 2)", "polar expects point, angle, distance"},
                    ErrorRow{"(POLAR '(0 0) 1 \"2\")", "polar expects point, angle, distance"},
                    ErrorRow{"(POLAR '(0 0) nil nil)", "polar expects point, angle, distance"}));

constexpr const char* kTransRequires =
    "trans requires point, source, target and registered context";
constexpr const char* kTransInvalid = "trans coordinate arguments invalid";

INSTANTIATE_TEST_SUITE_P(Trans, GeometricBuiltinErrors,
                         testing::Values(ErrorRow{"(TRANS)", kTransRequires},
                                         ErrorRow{"(TRANS '(1 2) 0)", kTransRequires},
                                         ErrorRow{"(TRANS '(1 2) 0 1 nil nil)", kTransRequires},
                                         ErrorRow{"(TRANS 1 0 1)", kTransInvalid},
                                         ErrorRow{"(TRANS '(1) 0 1)", kTransInvalid},
                                         ErrorRow{"(TRANS '(1 2) 'A 1)", kTransInvalid},
                                         ErrorRow{"(TRANS '(1 2) 0 \"1\")", kTransInvalid},
                                         ErrorRow{"(TRANS '(1 2) nil 1)", kTransInvalid}));

TEST(Polar, KeepsTheHeightOfItsPoint) {
  expect_numbers(evaluate("(POLAR '(1 2 3) 0 10)", nullptr), {11, 2, 3});
  expect_numbers(evaluate("(POLAR '(1 2 3 4) 0 10)", nullptr), {11, 2, 3});
  expect_numbers(evaluate("(POLAR '(1 2) 0 10)", nullptr), {11, 2, 0});
  expect_numbers(evaluate("(POLAR '(1 2 Z) 0 10)", nullptr), {11, 2, 0});
  expect_numbers(evaluate("(POLAR '(1 2 3) 0 -10)", nullptr), {-9, 2, 3});
}

TEST(Polar, TurnsCounterclockwiseInRadians) {
  const EvalOutcome outcome = evaluate("(POLAR '(1 2) 1.5707963267948966 10)", nullptr);
  const std::optional<lisp::LispList> elements = lisp::asList(outcome.value);
  ASSERT_TRUE(elements.has_value());
  EXPECT_DOUBLE_EQ(*lisp::asNumber((*elements)[0]), 1);
  EXPECT_DOUBLE_EQ(*lisp::asNumber((*elements)[1]), 12);
}

TEST(Trans, NeedsAContextWhateverItsArguments) {
  expect_error(evaluate("(TRANS '(1 2) 0 1)", nullptr), kTransRequires);
  expect_error(evaluate("(TRANS 1 'A 'B)", nullptr), kTransRequires);
  expect_error(evaluate("(TRANS X)", nullptr), "unbound symbol: X");
}

// System s moves its points by s in x, 10 s in y and 100 s in z.
CoordContext stepped_context() {
  CoordContext context;
  for (std::size_t s = 0; s < kSystemCount; ++s) {
    const auto step = static_cast<double>(s);
    context.systems[s] = {
        .plane = {.origin_x = step, .origin_y = 10 * step}, .z_scale = 1, .z_offset = 100 * step};
  }
  return context;
}

TEST(Trans, ConvertsBetweenSystemsAndAlwaysGivesThreeNumbers) {
  const CoordContext context = stepped_context();
  expect_numbers(evaluate("(TRANS '(1 2 3) 3 1)", &context), {3, 22, 203});
  expect_numbers(evaluate("(TRANS '(1 2) 0 1)", &context), {0, -8, -100});
  expect_numbers(evaluate("(TRANS '(1 2 X) 0 1)", &context), {0, -8, -100});
  expect_numbers(evaluate("(TRANS '(1 2 3 4) 4 4)", &context), {1, 2, 3});
}

TEST(Trans, IgnoresAFourthArgument) {
  const CoordContext context = stepped_context();
  expect_numbers(evaluate("(TRANS '(1 2 3) 1 0 'ANYTHING)", &context), {2, 12, 103});
}

struct CodeRow {
  std::string code;
  std::optional<int> system;

  friend void PrintTo(const CodeRow& row, std::ostream* out) { *out << row.code; }
};

class SystemCode : public testing::TestWithParam<CodeRow> {};

TEST_P(SystemCode, IsTruncatedAndMustNameASystem) {
  const auto& [code, system] = GetParam();
  const CoordContext context = stepped_context();
  const EvalOutcome from = evaluate("(TRANS '(1 2 3) " + code + " 0)", &context);
  const EvalOutcome to = evaluate("(TRANS '(1 2 3) 0 " + code + ")", &context);
  if (!system.has_value()) {
    expect_error(from, kTransInvalid);
    expect_error(to, kTransInvalid);
    return;
  }
  const double s = *system;
  expect_numbers(from, {1 + s, 2 + 10 * s, 3 + 100 * s});
  expect_numbers(to, {1 - s, 2 - 10 * s, 3 - 100 * s});
}

INSTANTIATE_TEST_SUITE_P(
    Rows, SystemCode,
    testing::Values(CodeRow{"0", 0}, CodeRow{"1", 1}, CodeRow{"2", 2}, CodeRow{"3", 3},
                    CodeRow{"4", 4}, CodeRow{"1.7", 1}, CodeRow{"1.9", 1}, CodeRow{"-0.0", 0},
                    CodeRow{"-0.5", 0}, CodeRow{"-0.9999999999999999", 0},
                    CodeRow{"4.9999999999999991", 4}, CodeRow{"5", std::nullopt},
                    CodeRow{"-1", std::nullopt}, CodeRow{"-1.5", std::nullopt},
                    CodeRow{"255", std::nullopt},
                    // Nothing wraps into the range.
                    CodeRow{"2147483648", std::nullopt}, CodeRow{"4294967296", std::nullopt},
                    CodeRow{"4294967297", std::nullopt}, CodeRow{"-4294967295", std::nullopt},
                    CodeRow{"18446744073709551616", std::nullopt}, CodeRow{"1e300", std::nullopt},
                    CodeRow{"(* 1e300 1e300)", std::nullopt},
                    CodeRow{"(- (* 1e300 1e300))", std::nullopt},
                    CodeRow{"(* 0 (* 1e300 1e300))", std::nullopt}));

TEST(Trans, ReportsEveryFailureOfTheTransformAsSingular) {
  CoordContext context = stepped_context();
  context.systems[1].plane = {.a = 0, .b = 0, .c = 0, .d = 0};
  context.systems[2].z_scale = 1e-18;
  constexpr const char* kSingular = "trans transform is singular";
  EXPECT_EQ(evaluate("(TRANS '(1 2 3) 1 0)", &context).kind, OutcomeKind::Value);
  expect_error(evaluate("(TRANS '(1 2 3) 0 1)", &context), kSingular);
  expect_error(evaluate("(TRANS '(1 2 3) 0 2)", &context), kSingular);
  expect_error(evaluate("(TRANS '(1 2 3) 2 0)", &context), kSingular);
  expect_error(evaluate("(TRANS (LIST (* 1e300 1e300) 0) 0 3)", &context), kSingular);
  expect_error(evaluate("(TRANS (LIST 0 0 (* 0 (* 1e300 1e300))) 0 3)", &context), kSingular);
}

TEST(Trans, ReadsItsContextAsItIsAtTheCall) {
  CoordContext context = stepped_context();
  expect_numbers(evaluate("(TRANS '(0 0) 1 0)", &context), {1, 10, 100});
  context.systems[1].plane.origin_x = 7;
  expect_numbers(evaluate("(TRANS '(0 0) 1 0)", &context), {7, 10, 100});
}

}  // namespace
}  // namespace geometry
