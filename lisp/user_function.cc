#include "lisp/user_function.h"

#include <bit>
#include <utility>

#include "lisp/list.h"

namespace lisp {
namespace {

constexpr std::size_t kBodyIndex = 3;  // After DEFUN, the name and the parameter list.

}  // namespace

UserFunction::UserFunction(LispValue form, std::vector<Symbol*> params, std::vector<Symbol*> locals)
    : form_(std::move(form)), params_(std::move(params)), locals_(std::move(locals)) {
  const RawValue& raw = form_.raw();
  body_ = {runOf(raw).slots() + kBodyIndex, raw.length - kBodyIndex};
  if (!hasLazyLocals()) return;
  local_table_.resize(std::bit_ceil(2 * locals_.size()));
  for (const Symbol* const local : locals_) local_table_[findLocal(*local)] = local;
}

std::size_t UserFunction::findLocal(const Symbol& symbol) const {
  const std::size_t mask = local_table_.size() - 1;
  std::size_t index = symbol.hash & mask;
  while (local_table_[index] != nullptr && local_table_[index] != &symbol) {
    index = (index + 1) & mask;
  }
  return index;
}

void retireFunction(UserFunction* function) { delete function; }

}  // namespace lisp
