// The record of a user function, which DEFUN makes.

#ifndef LISP_USER_FUNCTION_H_
#define LISP_USER_FUNCTION_H_

#include <cassert>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "lisp/growing_table.h"
#include "lisp/local_table.h"
#include "lisp/storage.h"
#include "lisp/symbol.h"
#include "lisp/value.h"

namespace lisp {

// A user function: parameters, locals and body, seen in the form that defined it. Shared by count
// among the name's record, the environments that know it and the calls in progress.
class UserFunction : public Counted {
 public:
  // Up to this many locals are bound as a call begins. A call of a function with more binds each
  // only when it is first touched (Bindings::bindLate), so that calling costs the bindings
  // touched, not the bindings declared.
  static constexpr std::size_t kEagerLocalsMax = 16;

  // `form` is a whole DEFUN form, whose third element is a flat list of symbols: parameters, "/"
  // and locals. Its elements from the fourth on, at least one, are the body.
  explicit UserFunction(LispValue form);

  // NOLINTNEXTLINE(misc-new-delete-overloads): its counterpart is the sized one.
  static void* operator new(std::size_t size) { return storage::allocate(size); }
  static void operator delete(void* block, std::size_t size) { storage::deallocate(block, size); }

  // Prepares a function that stays for the programs that will call it and are not charged for its
  // text: makes the functions that DEFUN forms inside it define, at any depth, and the digests of
  // all lists that it quotes. Linear in the form, and nothing the second time.
  void prepare();
  // The function that was prepared for the DEFUN form `items`, or null.
  [[nodiscard]] static UserFunction* findPrepared(const Chunk& items);

  // All of them symbols. Among the locals stand further "/", which declare nothing.
  [[nodiscard]] std::span<const LispValue> params() const { return params_; }
  [[nodiscard]] std::span<const LispValue> locals() const { return locals_; }
  [[nodiscard]] std::span<const LispValue> body() const { return body_; }
  [[nodiscard]] bool bindsLocalsLate() const { return locals_.size() > kEagerLocalsMax; }
  // Its parameters, if it binds its locals as a call begins; otherwise more than a call can have.
  [[nodiscard]] std::uint32_t plainArity() const { return plain_arity_; }
  // Of a function that binds its locals late.
  [[nodiscard]] const LocalTable& localTable() const {
    assert(local_table_ != nullptr);
    return *local_table_;
  }

 private:
  // A prepared function, by its form.
  struct Definition {
    std::uint64_t hash;
    Definition* next;
    const Chunk* form;
    UserFunction* function;  // Holds it.
  };
  using DefinitionTable = GrowingTable<Definition>;

  friend void retireFunction(UserFunction* function);
  friend void takeFunctionsApart(std::size_t count);
  static DefinitionTable& preparedFunctions();
  void addInner(UserFunction* function);
  void releaseLastInner();

  std::uint32_t plain_arity_ = 0;
  LispValue form_;
  std::span<const LispValue> params_;
  std::span<const LispValue> locals_;
  std::span<const LispValue> body_;
  std::unique_ptr<LocalTable> local_table_;         // Null unless it binds its locals late.
  std::vector<std::unique_ptr<Definition>> inner_;  // Of the forms inside it, but not inside these.
  UserFunction* next_dead_ = nullptr;
};

// True when a form that begins with DEFUN defines a function: it has a name, a list of symbols, and
// something to evaluate.
[[nodiscard]] bool isDefinition(const Chunk& items);

// Destroys a function whose last reference has gone, or, when it has many locals or functions
// inside it, puts it to those that wait to be taken apart.
void retireFunction(UserFunction* function);

// Takes up to `count` locals and inner functions apart of functions that are no longer needed. Who
// makes a function with many locals does so for twice as many.
void takeFunctionsApart(std::size_t count);

// True while some of these wait.
[[nodiscard]] bool hasDeadFunctions();

inline void retainFunction(UserFunction* function) {
  if (function != nullptr) ++function->references;
}
inline void releaseFunction(UserFunction* function) {
  assert(function == nullptr || function->references > 0);
  if (function != nullptr && --function->references == 0) retireFunction(function);
}

}  // namespace lisp

#endif  // LISP_USER_FUNCTION_H_
