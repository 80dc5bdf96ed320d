#include "console/debug/recorded_run.h"

#include <algorithm>

#include "explain/explanation.h"
#include "explain/form.h"
#include "explain/value_text.h"

namespace lisp_worker::console {
namespace {

constexpr std::size_t kFormSizeMax = 60;
constexpr std::size_t kValueSizeMax = 120;

}  // namespace

const Drawing& RecordedRun::drawingAt(trace::Position position) const {
  return drawings[std::min(index.answersBefore(position), drawings.size() - 1)];
}

const Drawing& RecordedRun::drawingBefore(std::size_t call) const {
  return drawings[std::min(call, drawings.size() - 1)];
}

const Drawing& RecordedRun::drawingAfter(std::size_t call) const {
  return drawings[std::min(call + 1, drawings.size() - 1)];
}

std::string textOf(const trace::Index& index, trace::Position step) {
  const explain::Form& form = index.formOf(step);
  const std::string_view source = index.program(index.step(step).program)->source.text();
  std::string text;
  for (const char c : source.substr(form.begin, form.end - form.begin)) {
    const bool is_blank = c == ' ' || ('\t' <= c && c <= '\r');
    if (is_blank && text.ends_with(' ')) continue;
    if (text.size() >= kFormSizeMax) return text + "...";
    text += is_blank ? ' ' : c;
  }
  return text;
}

std::string placeOf(const trace::Index& index, trace::Position step) {
  return explain::nameOfPlace(*index.program(index.step(step).program), index.formOf(step).begin);
}

std::string valueText(const trace::Index& index, trace::Position step) {
  if (const auto value = index.valueOf(step)) return "= " + explain::shorten(*value, kValueSizeMax);
  return index.isValueLost(step) ? "= a value that was not kept" : ": no value";
}

}  // namespace lisp_worker::console
