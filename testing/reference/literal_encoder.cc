// By recursion and printf.

#include "testing/reference/literal_encoder.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdio>

namespace lisp_worker::testing_support {
namespace {

constexpr std::size_t kResponseSizeMax = 0x100000;
constexpr std::size_t kResultHeaderSize = 64;
constexpr std::size_t kCallNameOffset = 16;
constexpr std::size_t kCallNameSizeMax = 31;
constexpr std::size_t kArgumentCountMax = 65535;

std::string encodeNumber(double number) {
  if (std::isnan(number)) return std::signbit(number) ? "-nan" : "nan";
  char digits[64];
  std::snprintf(digits, sizeof digits, "%.17g", number);
  return digits;
}

void putLittleEndian(std::string& bytes, std::size_t offset, std::uint64_t value, int size) {
  for (int i = 0; i < size; ++i) {
    bytes[offset + static_cast<std::size_t>(i)] = static_cast<char>((value >> (8 * i)) & 0xFF);
  }
}

worker::WorkerStatus statusOf(LiteralOutcomeKind kind) {
  using worker::WorkerStatus;
  switch (kind) {
    case LiteralOutcomeKind::Value:
      return WorkerStatus::Ok;
    case LiteralOutcomeKind::ReadError:
      return WorkerStatus::EvalParseError;
    case LiteralOutcomeKind::EvalError:
      return WorkerStatus::EvalFailed;
    case LiteralOutcomeKind::StepLimit:
      return WorkerStatus::EvalStepLimit;
    case LiteralOutcomeKind::HostCallRequired:
      return WorkerStatus::HostCallPending;
    case LiteralOutcomeKind::Abandoned:
      break;
  }
  return WorkerStatus::EvalFailed;
}

}  // namespace

std::string literalEncodeValue(const LiteralValue& value) {
  switch (value.kind) {
    case LiteralKind::Nil:
      return "nil";
    case LiteralKind::Number:
      return encodeNumber(value.number);
    case LiteralKind::String:
      return '"' + value.text + '"';
    case LiteralKind::Symbol:
      return value.text;
    case LiteralKind::List:
      break;
  }
  std::string text = "(";
  for (std::size_t i = 0; i < value.elements.size(); ++i) {
    if (i > 0) text += ' ';
    text += literalEncodeValue(value.elements[i]);
  }
  text += ')';
  return text;
}

FrameResponse literalEncodeResponse(const LiteralOutcome& outcome, std::uint64_t run_id) {
  std::string header(kResultHeaderSize, '\0');
  putLittleEndian(header, 0, static_cast<std::uint64_t>(outcome.kind), 1);
  putLittleEndian(header, 8, outcome.steps, 8);
  putLittleEndian(header, 48, run_id, 8);

  std::string text;
  if (outcome.kind == LiteralOutcomeKind::Value) {
    text = literalEncodeValue(outcome.value);
  } else if (outcome.kind == LiteralOutcomeKind::HostCallRequired &&
             outcome.host_call.has_value()) {
    const LiteralHostCall& call = *outcome.host_call;
    putLittleEndian(header, 2, std::min(call.arguments.size(), kArgumentCountMax), 2);
    const std::string name = call.name.substr(0, kCallNameSizeMax);
    std::copy(name.begin(), name.end(), header.begin() + kCallNameOffset);
    text = literalEncodeValue(literalList(call.arguments));
  } else {
    text = outcome.message;
  }

  if (kResultHeaderSize + text.size() > kResponseSizeMax)
    return FrameResponse{worker::WorkerStatus::InvalidRequest, ""};
  putLittleEndian(header, 4, text.size(), 4);
  return FrameResponse{statusOf(outcome.kind), header + text};
}

}  // namespace lisp_worker::testing_support
