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
}

const LocalTable& UserFunction::localTable() {
  if (local_table_ == nullptr) local_table_ = std::make_unique<LocalTable>(locals_);
  return *local_table_;
}

void retireFunction(UserFunction* function) { delete function; }

}  // namespace lisp
