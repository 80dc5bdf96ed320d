#include "check/flow.h"

#include <algorithm>
#include <array>

#include "explain/reference.h"

namespace check {

using explain::Form;
using explain::Group;
using lisp::LispValue;
using lisp::ValueKind;

namespace {

Known constant(LispValue value) {
  const unsigned kinds = Known::bitOf(value.kind());
  return {.kinds = kinds, .constant = std::move(value)};
}

Known kinds(unsigned bits) { return {.kinds = bits}; }

Known joined(const Known& a, const Known& b) {
  Known either = kinds(a.kinds | b.kinds);
  either.host_call = a.host_call != nullptr ? a.host_call : b.host_call;
  if (a.parameter == b.parameter) either.parameter = a.parameter;
  if (a.constant && b.constant && lisp::valuesEqual(*a.constant, *b.constant)) {
    either.constant = a.constant;
  }
  return either;
}

constexpr unsigned kNil = Known::bitOf(ValueKind::Nil);
constexpr unsigned kNumber = Known::bitOf(ValueKind::Number);
constexpr unsigned kText = Known::bitOf(ValueKind::String);
constexpr unsigned kList = Known::bitOf(ValueKind::List);

struct ResultRow {
  std::string_view name;
  unsigned kinds;
};

// Of builtin functions.
constexpr std::array<ResultRow, 15> kResults = {{
    {"+", kNumber},
    {"-", kNumber},
    {"*", kNumber},
    {"/", kNumber},
    {"1+", kNumber},
    {"1-", kNumber},
    {"LENGTH", kNumber},
    {"SSLENGTH", kNumber},
    {"DISTANCE", kNumber},
    {"ANGLE", kNumber},
    {"SSNAME", kText | kNil},
    {"POLAR", kList},
    {"TRANS", kList},
    {"CONS", kList},
    {"LIST", kList | kNil},
}};

// Of host calls, as hosts answer them.
constexpr std::array<ResultRow, 8> kAnswers = {{
    {"GETPOINT", kList | kNil},
    {"GETCORNER", kList | kNil},
    {"GETDIST", kNumber | kNil},
    {"SSGET", kList | kNil},
    {"ENTGET", kList | kNil},
    {"ENTMAKE", kList | kNil},
    {"ENTMAKEX", kText | kNil},
    {"OSNAP", kList | kNil},
}};

template <typename Rows>
unsigned kindsIn(const Rows& rows, std::string_view name) {
  const auto row =
      std::find_if(rows.begin(), rows.end(), [name](const auto& r) { return r.name == name; });
  return row == rows.end() ? Known::kAny : row->kinds;
}

}  // namespace

Flow::Flow(const std::vector<Form>& forms, const ProgramNames& names, Signatures& signatures)
    : names_(names), signatures_(signatures) {
  for (const Form& form : forms) static_cast<void>(look(form));
}

bool Flow::spend(std::size_t work) {
  constexpr std::size_t kWorkMax = 200'000;
  if (work_ <= kWorkMax && (work_ += work) > kWorkMax) arguments_.clear();
  return work_ <= kWorkMax;
}

const Known* Flow::find(const Form& argument) const {
  const auto found = arguments_.find(&argument);
  return found == arguments_.end() ? nullptr : &found->second;
}

Known Flow::look(const Form& form) {
  if (!spend(0)) return {};
  if (form.isSymbol()) {
    return form.name() == "T" ? constant(lisp::truth()) : valueOf(form.name());
  }
  if (!form.isList()) return constant(form.value);
  if (form.items.empty()) return constant(lisp::nil());
  if (!form.items.front().isSymbol()) return {};
  const bool is_special = form.entry != nullptr && form.entry->group == Group::SpecialForm;
  return is_special ? lookAtSpecialForm(form) : lookAtCall(form);
}

// The value of the last item.
Known Flow::lookAtItems(const Form& form, std::size_t begin) {
  Known last = constant(lisp::nil());
  for (std::size_t n = begin; n < form.items.size(); ++n) last = look(form.items[n]);
  return last;
}

Known Flow::lookAtSpecialForm(const Form& form) {
  const std::string_view name = form.entry->name;
  const std::size_t count = form.items.size();
  if (name == "QUOTE") return count == 2 ? constant(form.items[1].value) : Known();
  if (name == "SETQ") {
    Known last;
    for (std::size_t n = 1; n + 1 < count; n += 2) {
      last = look(form.items[n + 1]);
      if (form.items[n].isSymbol()) set(form.items[n].name(), last);
    }
    return last;
  }
  if (name == "DEFUN") {
    lookAtFunction(form);
    return {};
  }
  if (name == "IF" && count >= 3) return lookAtChoice(form);
  if (name == "WHILE" && count >= 2) return lookAtLoop(form);
  if (name == "AND") return lookAtSequence(form, true);
  if (name == "OR") return lookAtSequence(form, false);
  const Known last = lookAtItems(form, 1);
  return name == "PROGN" ? last : Known();
}

Known Flow::lookAtChoice(const Form& form) {
  static_cast<void>(look(form.items[1]));
  const std::size_t mark = trail_.size();
  assume(form.items[1], true);
  const Known one = lookInDoubt(form.items[2]);
  std::vector<Change> changes = takeBack(mark);
  assume(form.items[1], false);
  const Known other = form.items.size() > 3 ? lookInDoubt(form.items[3]) : constant(lisp::nil());
  join(std::move(changes), takeBack(mark));
  return joined(one, other);
}

Known Flow::lookInDoubt(const Form& form) {
  ++doubts_;
  Known value = look(form);
  --doubts_;
  return value;
}

// AND and OR: each item is evaluated only if the one before has let it.
Known Flow::lookAtSequence(const Form& form, bool goes_on_when_true) {
  constexpr std::size_t kItemsMax = 16;
  if (form.items.size() > kItemsMax) {
    ++doubts_;
    static_cast<void>(lookAtItems(form, 1));
    --doubts_;
    forgetAssigned(form);
    return {};
  }
  std::vector<std::size_t> marks;
  for (std::size_t n = 1; n < form.items.size(); ++n) {
    static_cast<void>(n == 1 ? look(form.items[n]) : lookInDoubt(form.items[n]));
    if (n + 1 == form.items.size()) break;
    marks.push_back(trail_.size());
    assume(form.items[n], goes_on_when_true);
  }
  for (; !marks.empty(); marks.pop_back()) join(takeBack(marks.back()), {});
  return {};
}

Known Flow::lookAtLoop(const Form& form) {
  for (std::size_t n = 1; n < form.items.size(); ++n) forgetAssigned(form.items[n]);
  static_cast<void>(look(form.items[1]));
  const std::size_t mark = trail_.size();
  assume(form.items[1], true);
  ++doubts_;
  static_cast<void>(lookAtItems(form, 2));
  --doubts_;
  static_cast<void>(takeBack(mark));
  return {};
}

void Flow::lookAtFunction(const Form& form) {
  const auto found = names_.definitionsByForm().find(&form);
  if (found == names_.definitionsByForm().end()) return;
  const Definition* const outer = std::exchange(inside_, found->second);
  auto outer_values = std::exchange(values_, {});
  auto outer_trail = std::exchange(trail_, {});
  const std::size_t outer_doubts = std::exchange(doubts_, 0);
  const std::vector<Form>& names = form.items[2].items;
  const auto slash =
      std::find_if(names.begin(), names.end(), [](const Form& name) { return name.name() == "/"; });
  for (auto name = names.begin(); name != slash; ++name) {
    values_[name->name()] = {.parameter = static_cast<std::size_t>(name - names.begin())};
  }
  for (auto name = slash; name != names.end(); ++name) {
    values_[name->name()] = constant(lisp::nil());
  }
  Known result = lookAtItems(form, 3);
  result.parameter = Known::kNoParameter;
  if (spend(0)) signatures_[&form].result = std::move(result);
  doubts_ = outer_doubts;
  inside_ = outer;
  values_ = std::move(outer_values);
  trail_ = std::move(outer_trail);
}

void Flow::noteUse(const Form& call, std::size_t index, const Known& argument) {
  if (inside_ == nullptr || doubts_ != 0 || argument.parameter == Known::kNoParameter) return;
  std::vector<Argument>& uses = signatures_[inside_->form].uses[argument.parameter];
  if (uses.size() < Signature::kUsesMax) uses.push_back({&call, index});
}

Known Flow::lookAtCall(const Form& form) {
  constexpr std::size_t kAskedItemsMax = 16;
  const bool is_own = names_.definitions().contains(form.operatorName());
  const bool is_known = form.entry != nullptr && !is_own;
  const bool makes_list = is_known && form.entry->name == "LIST";
  std::vector<LispValue> elements;
  for (std::size_t n = 1; n < form.items.size(); ++n) {
    Known argument = look(form.items[n]);
    if (makes_list && argument.constant) elements.push_back(*argument.constant);
    const bool is_literal = !form.items[n].isSymbol() && !form.items[n].isList();
    const bool is_interesting = argument.kinds != Known::kAny && !is_literal;
    noteUse(form, n - 1, argument);
    if (is_interesting) arguments_[&form.items[n]] = std::move(argument);
  }
  if (!is_known) {
    const Definition* const only = form.entry == nullptr ? names_.onlyDefinition(form) : nullptr;
    const auto found = only == nullptr ? signatures_.end() : signatures_.find(only->form);
    return found == signatures_.end() ? Known() : found->second.result;
  }
  // A later argument may have asked what an earlier one is.
  for (std::size_t n = 1; n + 1 < form.items.size() && n < kAskedItemsMax; ++n) {
    const auto argument = arguments_.find(&form.items[n]);
    if (!form.items[n].isSymbol() || argument == arguments_.end()) continue;
    const Known now = valueOf(form.items[n].name());
    const bool is_narrower = (now.kinds & argument->second.kinds) == now.kinds &&
                             now.host_call == argument->second.host_call;
    if (is_narrower && now.host_call != nullptr) argument->second = now;
  }
  if (makes_list && form.items.size() > 1) {
    const bool is_constant = elements.size() + 1 == form.items.size();
    return is_constant ? constant(lisp::list(std::move(elements))) : kinds(kList);
  }
  if (form.entry->group == Group::Builtin) {
    // Behind one of these there has been a selection set, or the program has failed.
    const bool asks = form.entry->name == "SSLENGTH" || form.entry->name == "SSNAME";
    if (asks && form.items.size() > 1) assume(form.items[1], true);
    return kinds(kindsIn(kResults, form.entry->name));
  }
  Known answer = kinds(kindsIn(kAnswers, form.entry->name));
  if (answer.kinds != Known::kAny) answer.host_call = &form;
  return answer;
}

bool Flow::isTracked(std::string_view name) const {
  return inside_ != nullptr ? inside_->own_names.contains(name)
                            : !names_.assignedInFunctions().contains(name);
}

Known Flow::valueOf(std::string_view name) const {
  const auto found = values_.find(name);
  return found == values_.end() ? Known() : found->second;
}

void Flow::set(std::string_view name, Known value) {
  if (!spend(0) || !isTracked(name)) return;
  const auto found = values_.find(name);
  trail_.emplace_back(name,
                      found == values_.end() ? std::nullopt : std::optional<Known>(found->second));
  values_[name] = std::move(value);
}

std::vector<Flow::Change> Flow::takeBack(std::size_t mark) {
  std::vector<Change> changes;
  if (!spend(trail_.size() - mark)) {
    trail_.clear();
    return changes;
  }
  for (std::size_t n = trail_.size(); n-- > mark;) {
    auto& [name, before] = trail_[n];
    changes.emplace_back(name, valueOf(name));  // Of several for one name the first is the latest.
    if (before) {
      values_[name] = *before;
    } else {
      values_.erase(name);
    }
  }
  trail_.resize(std::min(mark, trail_.size()));
  std::stable_sort(changes.begin(), changes.end(),
                   [](const Change& a, const Change& b) { return a.first < b.first; });
  changes.erase(std::unique(changes.begin(), changes.end(),
                            [](const Change& a, const Change& b) { return a.first == b.first; }),
                changes.end());
  return changes;
}

void Flow::join(std::vector<Change> one, std::vector<Change> other) {
  auto a = one.begin();
  auto b = other.begin();
  while (a != one.end() || b != other.end()) {
    const bool takes_a = b == other.end() || (a != one.end() && a->first <= b->first);
    const bool takes_b = a == one.end() || (b != other.end() && b->first <= a->first);
    const std::string_view name = takes_a ? a->first : b->first;
    const Known before = valueOf(name);
    set(name, joined(takes_a ? a->second : before, takes_b ? b->second : before));
    if (takes_a) ++a;
    if (takes_b) ++b;
  }
}

void Flow::assume(const Form& condition, bool is_true) {
  if (condition.isSymbol()) {
    Known value = valueOf(condition.name());
    const unsigned possible = value.kinds & (is_true ? Known::kAny & ~kNil : kNil);
    if (possible == value.kinds || value.kinds == Known::kAny) return;
    // A way that cannot be taken: nothing is known there.
    value.kinds = possible == 0 ? Known::kAny : possible;
    if (possible == 0) value.constant.reset();
    set(condition.name(), std::move(value));
    return;
  }
  if (condition.entry == nullptr || condition.items.size() < 2) return;
  const std::string_view name = condition.entry->name;
  if (name == "NOT" || name == "NULL") return assume(condition.items[1], !is_true);
  if (name == "SETQ" && condition.items[condition.items.size() - 2].isSymbol()) {
    return assume(condition.items[condition.items.size() - 2], is_true);
  }
  if ((name == "AND" && is_true) || (name == "OR" && !is_true)) {
    for (std::size_t n = 1; n < condition.items.size(); ++n) assume(condition.items[n], is_true);
  }
}

void Flow::forgetAssigned(const Form& form) {
  if (!spend(1) || !form.isList() || form.items.empty() || isQuote(form)) return;
  const std::string_view name = form.operatorName();
  if (name == "DEFUN") return;
  for (std::size_t n = 1; n < form.items.size(); ++n) {
    if (name == "SETQ" && n % 2 == 1) {
      if (form.items[n].isSymbol()) set(form.items[n].name(), {});
    } else {
      forgetAssigned(form.items[n]);
    }
  }
}

}  // namespace check
