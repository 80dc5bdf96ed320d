// User functions, their preparation and their end. A function that stays after its run is
// prepared: a DEFUN inside its body is made once, in advance, so that a later program that calls
// it does not pay for the text of another. (DEFUN F () (DEFUN G () 1)) stays as F with G inside.

#include "lisp/user_function.h"

#include <algorithm>
#include <cassert>
#include <cstdint>
#include <limits>
#include <utility>

#include "lisp/list.h"
#include "lisp/list_hash.h"
#include "lisp/plain_stack.h"
#include "lisp/work.h"
#include "lisp/wrapping.h"

namespace lisp {
namespace {

constexpr std::size_t kParametersIndex = 2;  // After DEFUN and the name.
constexpr std::size_t kBodyIndex = 3;

// Of a flat list, as the reader makes them.
std::span<const LispValue> elementsOf(const LispValue& list) {
  assert(list.raw().length() == chunkOf(list.raw()).flatLength());
  return {chunkOf(list.raw()).slots(), list.raw().length()};
}

// Those that wait to be taken apart.
constinit UserFunction* dead_functions = nullptr;

// The operator of a form if it is a special form, which no program can define anew.
Operation specialFormOf(const Chunk& form) {
  const RawValue& first = form.slots()[0].raw();
  return first.tag() == Tag::Symbol ? symbolOf(first).base_operation : Operation::Unknown;
}

LISP_WRAPS std::uint64_t hashOf(const Chunk& form) {
  return reinterpret_cast<std::uintptr_t>(&form) * 0x94d049bb133111eb >> 32;
}

bool isSeparator(const LispValue& name) { return &symbolOf(name.raw()) == kSlashSymbol; }

}  // namespace

bool isDefinition(const Chunk& items) {
  const LispValue* const item = items.slots();
  if (items.flatLength() <= kBodyIndex || item[1].kind() != ValueKind::Symbol ||
      item[kParametersIndex].kind() != ValueKind::List) {
    return false;
  }
  const std::span<const LispValue> names = elementsOf(item[kParametersIndex]);
  countWork(names.size());
  return std::all_of(names.begin(), names.end(),
                     [](const LispValue& name) { return name.kind() == ValueKind::Symbol; });
}

// Parameters, locals and body are views into the form, which this holds. A function that binds its
// locals late gets an arity that no call has, so that no call of it takes the plain way
// (callPlainly).
UserFunction::UserFunction(LispValue form) : form_(std::move(form)) {
  assert(isDefinition(chunkOf(form_.raw())));
  const std::span<const LispValue> items = elementsOf(form_);
  const std::span<const LispValue> names = elementsOf(items[kParametersIndex]);
  const auto separator = std::find_if(names.begin(), names.end(), isSeparator);
  params_ = {names.begin(), separator};
  if (separator != names.end()) locals_ = {separator + 1, names.end()};
  plain_arity_ = bindsLocalsLate() ? std::numeric_limits<std::uint32_t>::max()
                                   : static_cast<std::uint32_t>(params_.size());
  body_ = items.subspan(kBodyIndex);
  if (bindsLocalsLate()) {
    takeFunctionsApart(2 * locals_.size());
    local_table_ = std::make_unique<LocalTable>(locals_);
  }
}

UserFunction::DefinitionTable& UserFunction::preparedFunctions() {
  static auto& table = *new DefinitionTable;  // Never destroyed, like the table of names.
  return table;
}

UserFunction* UserFunction::findPrepared(const Chunk& items) {
  if (!items.isSearched()) return nullptr;
  const Definition* definition = preparedFunctions().firstOf(hashOf(items));
  while (definition != nullptr && definition->form != &items) definition = definition->next;
  return definition == nullptr ? nullptr : definition->function;
}

void UserFunction::addInner(UserFunction* function) {
  const Chunk& form = chunkOf(function->form_.raw());
  inner_.push_back(
      std::make_unique<Definition>(Definition{hashOf(form), nullptr, &form, function}));
  preparedFunctions().insert(inner_.back().get());
}

void UserFunction::releaseLastInner() {
  UserFunction* const function = inner_.back()->function;
  preparedFunctions().remove(inner_.back().get());
  inner_.pop_back();
  releaseFunction(function);
}

// Walks through the body with a list of forms that wait, because forms nest up to 512 levels. Each
// form is marked as searched: findPrepared looks only for those that are. Constants get their
// digests now, so a later program that compares them is not charged for making these.
void UserFunction::prepare() {
  struct Waiting {
    Chunk* form;
    UserFunction* owner;  // The function that it is directly inside.
  };
  Chunk& whole = chunkOf(form_.raw());
  if (whole.isSearched()) return;
  PlainStack<Waiting> waiting;
  waiting.push({&whole, this});
  while (waiting.size() > 0) {
    Chunk& form = *waiting.top().form;
    UserFunction* owner = waiting.top().owner;
    waiting.truncate(waiting.size() - 1);
    form.setSearched();
    countWork(form.flatLength());
    const Operation operation = specialFormOf(form);
    if (operation == Operation::Defun && &form != &whole && isDefinition(form)) {
      auto* const inner =
          new UserFunction(LispValue::share(RawValue::ofList(form, form.flatLength())));
      owner->addInner(inner);
      owner = inner;
    }
    for (std::uint32_t i = 0; i < form.flatLength(); ++i) {
      const RawValue& item = form.slots()[i].raw();
      if (!lacksDigest(item)) continue;
      if (operation == Operation::Quote) {
        digest(chunkOf(item));
      } else {
        waiting.push({&chunkOf(item), owner});
      }
    }
  }
}

// A small function is destroyed at once, which is O(1): its form is a list and goes to the
// graveyard. One with a table of locals or with inner functions waits, as its parts are many.
void retireFunction(UserFunction* function) {
  assert(function->references == 0);
  if (!function->bindsLocalsLate() && function->inner_.empty()) {
    delete function;
    return;
  }
  function->next_dead_ = dead_functions;
  dead_functions = function;
}

bool hasDeadFunctions() { return dead_functions != nullptr; }

// A unit is an inner function or the declaration of a local. A function that loses its last part is
// destroyed.
void takeFunctionsApart(std::size_t count) {
  while (dead_functions != nullptr) {
    UserFunction* const function = dead_functions;
    for (; count > 0 && !function->inner_.empty(); --count) {
      dead_functions = function->next_dead_;  // What it holds may come in front.
      function->releaseLastInner();
      function->next_dead_ = dead_functions;
      dead_functions = function;
    }
    if (function->local_table_ != nullptr) count -= function->local_table_->forget(count);
    if (count == 0) return;
    dead_functions = function->next_dead_;
    delete function;
  }
}

}  // namespace lisp
