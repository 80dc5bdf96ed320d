// The value of a call is known only later, so lines are kept until the program ends. A form's call
// is its number among the program's calls; the first of them are in first_, the latest in last_.

#include "console/trace_listing.h"

#include <algorithm>

#include "explain/explanation.h"
#include "explain/form.h"
#include "explain/value_text.h"

namespace lisp_worker::console {
namespace {

constexpr std::size_t kValueSizeMax = 40;  // Of an argument or a value.
constexpr std::size_t kArgumentsSizeMax = 160;
constexpr std::size_t kIndentedDepthMax = 20;  // Deeper calls are not indented further.
constexpr std::size_t kPlaceWidth = 22;
constexpr std::size_t kDepthWidth = 3;

bool isSpecial(const explain::Form& form) {
  return form.entry != nullptr && form.entry->group == explain::Group::SpecialForm;
}

}  // namespace

void TraceListing::began(const explain::ProgramPointer& program) {
  name_ = program->source.name();
  open_.clear();
  values_.clear();
  depth_ = 0;
  call_count_ = 0;
  first_.clear();
  last_.clear();
}

void TraceListing::entered(const explain::ProgramPointer& program, std::size_t number) {
  open_.push_back({program.get(), number, values_.size(), kNoCall});
}

void TraceListing::left(const lisp::LispValue& value) {
  const OpenForm form = open_.back();
  open_.pop_back();
  values_.resize(form.first_value);
  if (form.call != kNoCall) {
    Line* const line = find(form.call);
    if (line != nullptr && line->end.empty()) {
      line->end = " = " + explain::shorten(value, kValueSizeMax);
    }
  }
  if (open_.empty()) return;
  const OpenForm& around = open_.back();
  const bool is_argument =
      around.call == kNoCall && !isSpecial(*around.program->forms_by_number[around.number]);
  if (is_argument) values_.push_back(value);
}

void TraceListing::called(const explain::Function& function) {
  add(std::string(function.definition->items[1].name()),
      std::span(values_).subspan(open_.back().first_value));
  ++depth_;
}

void TraceListing::returned() { --depth_; }

void TraceListing::hostCalled(std::string_view name, std::span<const lisp::LispValue> arguments) {
  add(std::string(name), arguments);
}

void TraceListing::hostAnswered(const explain::AnsweredCall& call) {
  Line* const line = find(call_count_ - 1);
  if (line == nullptr || call.refusal.empty()) return;
  line->end = " = " + explain::shorten(call.answer, kValueSizeMax) + ", refused";
}

void TraceListing::add(const std::string& name, std::span<const lisp::LispValue> arguments) {
  OpenForm& form = open_.back();
  form.call = call_count_++;
  if (first_.size() >= kFirstCallsMax && last_.size() >= kLastCallsMax) last_.pop_front();
  std::string call = "(" + name;
  for (const lisp::LispValue& argument : arguments) {
    if (call.size() > kArgumentsSizeMax) {
      call += " ...";
      break;
    }
    call += " " + explain::shorten(argument, kValueSizeMax);
  }
  Line line{form.program, form.program->forms_by_number[form.number]->begin, depth_ + 1, call + ")",
            ""};
  if (first_.size() < kFirstCallsMax) {
    first_.push_back(std::move(line));
  } else {
    last_.push_back(std::move(line));
  }
}

TraceListing::Line* TraceListing::find(std::size_t call) {
  if (call < first_.size()) return &first_[call];
  const std::size_t from_end = call_count_ - call;  // 1 for the latest.
  return from_end <= last_.size() ? &last_[last_.size() - from_end] : nullptr;
}

void TraceListing::print(const Line& line) {
  std::string place = explain::nameOfPlace(*line.program, line.begin);
  place.resize(std::max(place.size(), kPlaceWidth), ' ');
  std::string depth = std::to_string(line.depth);
  depth.insert(0, kDepthWidth - std::min(kDepthWidth, depth.size()), ' ');
  text_ += place + depth + "  " +
           std::string(2 * (std::min(line.depth, kIndentedDepthMax) - 1), ' ') + line.call +
           (line.end.empty() ? ": did not return" : line.end) + "\n";
}

void TraceListing::ended() {
  if (call_count_ == 0) return;
  text_ += "== trace of " + name_ + ": " + explain::counted(call_count_, "call") + "\n";
  for (const Line& line : first_) print(line);
  const std::size_t left_out = call_count_ - first_.size() - last_.size();
  if (left_out != 0) text_ += "... " + explain::counted(left_out, "call") + " left out\n";
  for (const Line& line : last_) print(line);
}

}  // namespace lisp_worker::console
