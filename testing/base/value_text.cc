// By recursion, and with printf for numbers: slow, short, and nothing that the worker's encoder
// does. Deeper levels than the reader nests are cut off.

#include "testing/base/value_text.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <optional>
#include <ostream>

#include "lisp/reader.h"

namespace lisp_worker::testing_support {
namespace {

using lisp::LispValue;
using lisp::ValueKind;

constexpr int kLevelsMax = 600;          // More than the reader nests.
constexpr std::size_t kNumberSize = 40;  // Bytes.

void append(const LispValue& value, int level, std::string& text) {
  switch (value.kind()) {
    case ValueKind::Nil:
      text += "nil";
      return;
    case ValueKind::Number: {
      const double number = *lisp::asNumber(value);
      if (std::isnan(number)) {
        // C libraries differ in whether they show the sign.
        text += std::signbit(number) ? "-nan" : "nan";
        return;
      }
      std::array<char, kNumberSize> digits;
      std::snprintf(digits.data(), digits.size(), "%.17g", number);
      text += digits.data();
      return;
    }
    case ValueKind::String:
      text.append("\"").append(*lisp::asText(value)).append("\"");
      return;
    case ValueKind::Symbol:
      text += *lisp::asText(value);
      return;
    case ValueKind::List:
      break;
  }
  if (level == kLevelsMax) {
    text += "...";
    return;
  }
  text += '(';
  bool is_first = true;
  const lisp::LispList elements = *lisp::asList(value);
  for (const LispValue& element : elements) {
    if (!is_first) text += ' ';
    is_first = false;
    append(element, level + 1, text);
  }
  text += ')';
}

}  // namespace

std::string textOf(const LispValue& value) {
  std::string text;
  append(value, 0, text);
  return text;
}

LispValue read(std::string_view text) {
  std::string error;
  const std::optional<LispValue> value = lisp::parseProgram(text, &error);
  EXPECT_TRUE(value.has_value()) << text << ": " << error;
  return value.value_or(lisp::nil());
}

}  // namespace lisp_worker::testing_support

namespace lisp {

void PrintTo(const LispValue& value, std::ostream* out) {
  *out << lisp_worker::testing_support::textOf(value);
}

void PrintTo(const EvalOutcome& outcome, std::ostream* out) {
  static constexpr std::array kKinds = {"Value", "ReadError", "EvalError", "StepLimit",
                                        "HostCallRequired"};
  *out << kKinds.at(static_cast<std::size_t>(outcome.kind)) << " after " << outcome.steps
       << " steps";
  if (!outcome.message.empty()) *out << ", \"" << outcome.message << '"';
  if (outcome.kind == OutcomeKind::Value)
    *out << ", " << lisp_worker::testing_support::textOf(outcome.value);
  if (outcome.host_call) {
    *out << ", " << outcome.host_call->name << ' '
         << lisp_worker::testing_support::textOf(list(outcome.host_call->arguments));
  }
}

}  // namespace lisp
