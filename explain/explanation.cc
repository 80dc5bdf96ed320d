// The text of an explanation: the message, the line with a caret, the calls that led there, the
// values, and the advice.

#include "explain/explanation.h"

#include <algorithm>
#include <string_view>

namespace explain {
namespace {

constexpr std::size_t kStepRowMax = 8;
constexpr std::size_t kShownCallsMax = 8;  // Of the chain; the innermost and the outermost half.

void appendLine(std::string& text, const char* label, const std::string& line) {
  std::string front = std::string("  ") + label;
  front.resize(12, ' ');
  text += front + line + "\n";
}

// The first line of a call, shortened.
std::string textOf(const CallSite& call) {
  constexpr std::size_t kTextSizeMax = 60;
  std::string_view text = call.program->source.text().substr(call.begin, call.end - call.begin);
  const bool is_cut = text.find('\n') != std::string_view::npos || text.size() > kTextSizeMax;
  text = text.substr(0, std::min({text.find('\n'), text.size(), kTextSizeMax}));
  return std::string(text) + (is_cut ? " ..." : "");
}

void appendCalls(std::string& text, const FaultyForm& fault) {
  const std::size_t count = fault.calls.size();
  for (std::size_t n = 0; n < count; ++n) {
    if (count > kShownCallsMax && n == kShownCallsMax / 2) {
      const std::size_t left_out = count - kShownCallsMax;
      appendLine(text, "", "... " + std::to_string(left_out) + " more calls ...");
      n += left_out;
    }
    const CallSite& call = fault.calls[n];
    appendLine(text, n == 0 ? "in" : "",
               call.function + ", called at " + nameOfPlace(*call.program, call.begin) + "  " +
                   textOf(call));
  }
}

// Place and message, the line with a caret, the values and the chain of calls.
std::string describe(const FaultyForm& fault, const std::string& message) {
  std::string text = nameOfPlace(*fault.program, fault.begin) + ": " + message + "\n" +
                     showPlace(fault.program->source, fault.begin, fault.end);
  for (std::size_t n = 0; n < fault.values.size(); ++n) {
    appendLine(text, n == 0 ? "values" : "", fault.values[n].what + " is " + fault.values[n].value);
  }
  appendCalls(text, fault);
  return text;
}

}  // namespace

std::string nameOfPlace(const Program& program, std::size_t offset) {
  const Place place = program.source.placeOf(offset);
  return program.source.name() + ":" + std::to_string(place.line) + ":" +
         std::to_string(place.column);
}

std::string stepTable(const Outcome& outcome, std::size_t row_max) {
  std::string text;
  for (std::size_t n = 0; n < outcome.step_counts.size() && n < row_max; ++n) {
    const StepCount& row = outcome.step_counts[n];
    std::string count = std::to_string(row.count);
    count.insert(0, count.size() < 9 ? 9 - count.size() : 0, ' ');
    std::string_view line = row.program->source.line(row.line);
    line.remove_prefix(std::min(line.find_first_not_of(" \t"), line.size()));
    std::string where =
        (row.function.empty() ? "top level" : row.function) + " line " + std::to_string(row.line);
    where.resize(std::max<std::size_t>(where.size() + 2, 24), ' ');
    text += count + "  " + where + std::string(line.substr(0, 60)) + "\n";
  }
  if (outcome.step_counts.size() > row_max) {
    text += "           ... and " + std::to_string(outcome.step_counts.size() - row_max) +
            " more lines\n";
  }
  return text;
}

std::string explanationOf(const AnsweredCall& call) {
  const std::string message = call.name + " refused: " + call.refusal;
  return call.fault ? describe(*call.fault, message) : message + "\n";
}

std::string explanationOf(const Outcome& outcome) {
  const FaultyForm& fault = outcome.fault;
  std::string text = describe(fault, outcome.message);
  if (!fault.expected.empty()) appendLine(text, "expected", fault.expected);
  if (!fault.advice.empty()) appendLine(text, "try", fault.advice);
  if (outcome.kind == OutcomeKind::StepLimit) {
    text += "  steps     by line, the most first:\n" + stepTable(outcome, kStepRowMax);
  }
  return text;
}

}  // namespace explain
