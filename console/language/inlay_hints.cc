#include "console/language/inlay_hints.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <numbers>
#include <string_view>
#include <unordered_map>
#include <utility>

#include "console/entity.h"
#include "console/language/cursor.h"
#include "console/language/hovers.h"

namespace lisp_worker::console::language {
namespace {

using explain::Form;

std::string small(std::string_view text) {
  std::string result(text);
  for (char& c : result) c = c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
  return result;
}

// With at most two digits behind the point.
std::string inDegrees(double radians) {
  const double degrees = std::round(radians * 18000 / std::numbers::pi) / 100;
  std::array<char, 32> digits{};
  const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), degrees).ptr;
  return std::string(digits.data(), end) + "\xC2\xB0";
}

class Hinter {
 public:
  Hinter(const Unit& unit, const Span& span) : unit_(unit), span_(span) {}

  std::vector<InlayHint> run() {
    const ProgramParts& parts = unit_.texts[unit_.own]->parts;
    if (parts.all().empty()) return {};
    for (std::size_t n = parts.indexAt(span_.begin);
         n < parts.all().size() && parts.all()[n].begin <= span_.end; ++n) {
      part_ = &parts.all()[n];
      for (const Form& form : part_->part->forms()) look(form, false);
    }
    return std::move(hints_);
  }

 private:
  void look(const Form& form, bool is_quoted) {
    if (!form.isList() || form.items.empty()) return;
    const Span span = part_->placed(part_->part->spanOf(form));
    if (span.end < span_.begin || span.begin > span_.end) return;
    const std::string_view name = form.operatorName();
    lookAtAngleGroup(form);
    const bool is_call = !is_quoted && !name.empty() &&
                         (form.entry == nullptr || form.entry->group == explain::Group::Builtin);
    const std::vector<std::string>* const parameters = is_call ? parametersOf(name) : nullptr;
    for (std::size_t n = 0; n < form.items.size(); ++n) {
      const Form& item = form.items[n];
      if (parameters != nullptr && n > 0 && n <= parameters->size()) {
        lookAtArgument(item, (*parameters)[n - 1]);
      }
      look(item, is_quoted || name == "QUOTE");
    }
  }

  void lookAtArgument(const Form& argument, const std::string& parameter) {
    const Span span = part_->placed(part_->part->spanOf(argument));
    if (!argument.isSymbol()) {
      hints_.push_back({.offset = span.begin, .label = parameter + ":", .is_parameter = true});
    }
    if (parameter == "angle") addDegrees(argument);
  }

  // (50 1.57) and (LIST 50 1.57), groups of an entity.
  void lookAtAngleGroup(const Form& form) {
    const std::size_t first = form.operatorName() == "LIST" ? 1 : 0;
    if (form.items.size() != first + 2) return;
    const auto code = lisp::asNumber(form.items[first].value);
    constexpr std::array kAngleGroups = {kStartAngleGroup, kEndAngleGroup, kPatternAngleGroup};
    if (code && std::find(kAngleGroups.begin(), kAngleGroups.end(), *code) != kAngleGroups.end()) {
      addDegrees(form.items[first + 1]);
    }
  }

  void addDegrees(const Form& form) {
    const auto radians = lisp::asNumber(form.value);
    constexpr double kAngleMax = 1000;  // More turns are no angle.
    if (!radians || *radians == 0 || !(std::fabs(*radians) < kAngleMax)) return;
    const Span span = part_->placed(part_->part->spanOf(form));
    hints_.push_back({.offset = span.end, .label = "= " + inDegrees(*radians)});
  }

  // Null for a function that has fewer than two, or any number of them.
  const std::vector<std::string>* parametersOf(std::string_view name) {
    const auto [known, is_new] = parameters_.try_emplace(name);
    if (is_new) {
      const auto signature = signatureOf(unit_, name);
      if (signature && !signature->repeats && signature->parameters.size() > 1) {
        for (const Span& each : signature->parameters) {
          std::string word = small(signature->label.substr(each.begin, each.size()));
          if (word.starts_with('[')) break;
          known->second.push_back(std::move(word));
        }
      }
      // Names that are all the same, as those of (= NUMBER NUMBER), say nothing.
      const std::vector<std::string>& words = known->second;
      const bool says_nothing =
          std::all_of(words.begin(), words.end(),
                      [&words](const std::string& word) { return word == words.front(); });
      if (says_nothing) known->second.clear();
    }
    return known->second.empty() ? nullptr : &known->second;
  }

  const Unit& unit_;
  const Span span_;
  const PlacedPart* part_ = nullptr;
  std::unordered_map<std::string_view, std::vector<std::string>> parameters_;
  std::vector<InlayHint> hints_;
};

}  // namespace

std::vector<InlayHint> inlayHintsIn(const Unit& unit, const Span& span) {
  return Hinter(unit, span).run();
}

}  // namespace lisp_worker::console::language
