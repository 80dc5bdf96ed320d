// What DEFUN makes: the record of a user function.

#ifndef LISP_USER_FUNCTION_H_
#define LISP_USER_FUNCTION_H_

#include <cstddef>
#include <span>
#include <vector>

#include "lisp/symbol.h"
#include "lisp/value.h"

namespace lisp {

// A user function: parameters, locals and body. Immutable; shared by count among the name's record,
// the environments that know it and the calls in progress.
class UserFunction : public Counted {
 public:
  // Up to this many locals are bound as a call begins. A call of a function with more binds each
  // only when it is first touched (Interpreter::bindLazyLocal), so that calling costs the bindings
  // touched, not the bindings declared.
  static constexpr std::size_t kEagerLocalsMax = 8;

  // `form` is the whole DEFUN form, whose elements from the fourth on are the body; it also holds
  // the symbols of `params` and `locals`.
  UserFunction(LispValue form, std::vector<Symbol*> params, std::vector<Symbol*> locals);

  [[nodiscard]] std::span<Symbol* const> params() const { return params_; }
  [[nodiscard]] std::span<Symbol* const> locals() const { return locals_; }
  [[nodiscard]] std::span<const LispValue> body() const { return body_; }
  [[nodiscard]] bool hasLazyLocals() const { return locals_.size() > kEagerLocalsMax; }
  // Of a function with lazy locals. O(1).
  [[nodiscard]] bool isLocal(const Symbol& symbol) const {
    return local_table_[findLocal(symbol)] != nullptr;
  }

 private:
  // The place of a name in local_table_: its own, or the null one where it would stand.
  [[nodiscard]] std::size_t findLocal(const Symbol& symbol) const;

  LispValue form_;
  std::vector<Symbol*> params_;
  std::vector<Symbol*> locals_;
  std::vector<const Symbol*> local_table_;  // The lazy locals, hashed; at least half of it null.
  std::span<const LispValue> body_;
};

// Destroys a function whose last reference has gone.
void retireFunction(UserFunction* function);

inline void retainFunction(UserFunction* function) {
  if (function != nullptr) ++function->references;
}
inline void releaseFunction(UserFunction* function) {
  if (function != nullptr && --function->references == 0) retireFunction(function);
}

}  // namespace lisp

#endif  // LISP_USER_FUNCTION_H_
