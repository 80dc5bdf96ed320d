#include "lisp/user_function.h"

#include <algorithm>
#include <limits>
#include <utility>

#include "lisp/list.h"

namespace lisp {
namespace {

constexpr std::size_t kParametersIndex = 2;  // After DEFUN and the name.
constexpr std::size_t kBodyIndex = 3;

std::span<const LispValue> elementsOf(const LispValue& list) {
  return {runOf(list.raw()).slots(), list.raw().length()};
}

// Those that wait to be taken apart.
constinit UserFunction* dead_functions = nullptr;

bool isSeparator(const LispValue& name) { return &symbolOf(name.raw()) == kSlashSymbol; }

}  // namespace

UserFunction::UserFunction(LispValue form) : form_(std::move(form)) {
  const std::span<const LispValue> items = elementsOf(form_);
  const std::span<const LispValue> names = elementsOf(items[kParametersIndex]);
  const auto separator = std::find_if(names.begin(), names.end(), isSeparator);
  params_ = {names.begin(), separator};
  if (separator != names.end()) locals_ = {separator + 1, names.end()};
  plain_arity_ = bindsLocalsLate() ? std::numeric_limits<std::uint32_t>::max()
                                   : static_cast<std::uint32_t>(params_.size());
  body_ = items.subspan(kBodyIndex);
  if (bindsLocalsLate()) {
    decomposeFunctions(2 * locals_.size());
    local_table_ = std::make_unique<LocalTable>(locals_);
  }
}

void retireFunction(UserFunction* function) {
  if (!function->bindsLocalsLate()) {
    delete function;
    return;
  }
  function->next_dead_ = dead_functions;
  dead_functions = function;
}

void decomposeFunctions(std::size_t locals) {
  while (locals > 0 && dead_functions != nullptr) {
    UserFunction* const function = dead_functions;
    const std::size_t forgotten = function->local_table_->forget(locals);
    if (forgotten == locals) return;
    locals -= forgotten;
    dead_functions = function->next_dead_;
    delete function;
  }
}

}  // namespace lisp
