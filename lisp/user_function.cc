#include "lisp/user_function.h"

#include <algorithm>
#include <functional>
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
  if (hasLazyLocals()) std::sort(locals_.begin(), locals_.end(), std::less<>());
}

bool UserFunction::isLocal(const Symbol& symbol) const {
  return std::binary_search(locals_.begin(), locals_.end(), const_cast<Symbol*>(&symbol),
                            std::less<>());
}

void retireFunction(UserFunction* function) { delete function; }

}  // namespace lisp
