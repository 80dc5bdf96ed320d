// The encoder.
//
// The input builds values on a stack, byte by byte: numbers of any bits, texts, lists of what is on
// top, CONS, CDR, copies. The text of the last must be that of the same value built of plain copies
// and printed by the literal encoder; each number must come back from its text; and a limit on the
// text must cut exactly where the text no longer fits.

#include <bit>
#include <cmath>
#include <cstdlib>
#include <vector>

#include "fuzz/law.h"
#include "lisp/list.h"
#include "lisp/outcome.h"
#include "lisp/printer.h"
#include "lisp/value.h"
#include "testing/reference/literal_encoder.h"
#include "testing/reference/literal_value.h"
#include "testing/wire/frame_port.h"
#include "worker/encoding.h"

namespace {

using lisp::LispValue;
using lisp_worker::testing_support::LiteralKind;
using lisp_worker::testing_support::LiteralValue;

constexpr std::size_t kCostMax = 4000;  // Of a value that is copied literally.

struct Twin {
  LispValue value;
  LiteralValue literal;
};

void checkNumber(double number) {
  const std::string text = lisp::encodeValue(lisp::number(number));
  if (std::isnan(number)) {
    lisp_worker::fuzz::requireEqual(text, std::signbit(number) ? "-nan" : "nan",
                                    "a NaN prints its sign");
    return;
  }
  const double back = std::strtod(text.c_str(), nullptr);
  lisp_worker::fuzz::require(
      std::bit_cast<std::uint64_t>(back) == std::bit_cast<std::uint64_t>(number),
      "a number comes back from its text", text);
}

// The list of the `count` values on top.
void makeList(std::vector<Twin>& stack, std::size_t count) {
  std::vector<LispValue> elements;
  std::vector<LiteralValue> literals;
  for (std::size_t i = stack.size() - count; i < stack.size(); ++i) {
    elements.push_back(stack[i].value);
    literals.push_back(stack[i].literal);
  }
  stack.resize(stack.size() - count);
  stack.push_back(
      {lisp::list(elements), lisp_worker::testing_support::literalList(std::move(literals))});
}

void build(std::uint8_t operation, lisp_worker::fuzz::Input& input, std::vector<Twin>& stack) {
  switch (operation % 8) {
    case 0: {
      const double number = input.number();
      checkNumber(number);
      stack.push_back({lisp::number(number), lisp_worker::testing_support::literalNumber(number)});
      return;
    }
    case 1: {
      const auto number = static_cast<double>(static_cast<std::int8_t>(input.byte()));
      stack.push_back({lisp::number(number), lisp_worker::testing_support::literalNumber(number)});
      return;
    }
    case 2: {
      const std::string text(input.take(operation >> 3));
      stack.push_back({lisp::string(text), lisp_worker::testing_support::literalString(text)});
      return;
    }
    case 3: {
      const std::string name(input.take(operation >> 3));
      stack.push_back({lisp::symbol(name), lisp_worker::testing_support::literalSymbol(name)});
      return;
    }
    case 4:
      stack.push_back({lisp::nil(), lisp_worker::testing_support::literalNil()});
      return;
    case 5:
      makeList(stack, std::min<std::size_t>(operation >> 3, stack.size()));
      return;
    case 6: {  // CONS of the two on top, where the second is a list.
      if (stack.size() < 2 || stack.back().literal.kind != LiteralKind::List) return;
      Twin list = std::move(stack.back());
      stack.pop_back();
      Twin& first = stack.back();
      list.literal.elements.insert(list.literal.elements.begin(), first.literal);
      first.literal = std::move(list.literal);
      first.value = LispValue::adopt(lisp::prepend(first.value.take(), list.value.take()));
      return;
    }
    default:  // A copy of a value below, or the rest of the list on top.
      if (stack.empty()) return;
      if (operation >= 128) {
        Twin copy = stack[operation % stack.size()];
        stack.push_back(std::move(copy));
      } else if (!stack.back().literal.elements.empty()) {
        auto& elements = stack.back().literal.elements;
        elements.erase(elements.begin());
        stack.back().value = LispValue::adopt(lisp::restOf(stack.back().value.raw()));
      }
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  lisp_worker::fuzz::Input input(data, size);
  const std::size_t size_max = input.byte() | std::size_t{input.byte()} << 8;
  std::vector<Twin> stack;
  std::size_t cost = 0;
  while (!input.empty() && cost < kCostMax) {
    build(input.byte(), input, stack);
    if (!stack.empty()) cost += lisp_worker::testing_support::literalCopyCost(stack.back().literal);
  }
  if (stack.empty()) return 0;
  const LispValue& value = stack.back().value;
  const std::string expected =
      lisp_worker::testing_support::literalEncodeValue(stack.back().literal);
  lisp_worker::fuzz::requireEqual(lisp::encodeValue(value), expected,
                                  "both encoders write the same");

  std::string text = "before ";
  const std::size_t before = text.size();
  const bool fits = lisp::appendValue(value, size_max + before, text);
  lisp_worker::fuzz::require(fits == (expected.size() <= size_max), "what is too long is refused");
  if (fits) lisp_worker::fuzz::requireEqual(text.substr(before), expected, "what fits is written");

  lisp::EvalOutcome outcome;
  outcome.kind = lisp::OutcomeKind::HostCallRequired;
  outcome.host_call = lisp::HostCall{"COMMAND-S", {value, value}};
  outcome.steps = size;
  std::string payload;
  static_cast<void>(lisp_worker::worker::encodeEvalResponse(outcome, 9, payload));
  const lisp_worker::testing_support::EvalResult result =
      lisp_worker::testing_support::decodeEvalResult(payload);
  lisp_worker::fuzz::require(result.decoded && result.steps == size && result.run_id == 9 &&
                                 result.argument_count == 2 && result.call_name == "COMMAND-S",
                             "a response says what it holds");
  lisp_worker::fuzz::requireEqual(result.text, "(" + expected + " " + expected + ")",
                                  "a call's arguments");
  return 0;
}
