// Environment: the global bindings and user functions that runs leave behind.
//
// An Environment is one version of that state. Copying it is O(1) whatever it holds: versions share
// a tree of sixteen-way nodes, and setting a binding copies only the nodes on the way to it that
// other versions share too. So a pending run's snapshot costs nothing, and committing a run costs
// what it changed. Bindings are found by the place that a symbol's record was given when it was
// first committed; no name is hashed or compared.

#ifndef LISP_ENVIRONMENT_H_
#define LISP_ENVIRONMENT_H_

#include <cstddef>
#include <cstdint>

#include "lisp/symbol.h"
#include "lisp/user_function.h"
#include "lisp/value.h"

namespace lisp {

struct EnvironmentNode;

// The entry of an Environment for one name. Borrowed from the version that was asked.
struct Binding {
  RawValue value = RawValue::of(Tag::Unbound);  // Unbound when the name is only a function.
  UserFunction* function = nullptr;             // Null when the name is only a variable.
};

class Environment {
 public:
  Environment() = default;
  Environment(const Environment& other);
  Environment(Environment&& other) noexcept;
  Environment& operator=(const Environment& other);
  Environment& operator=(Environment&& other) noexcept;
  ~Environment();

  // The binding of `symbol`, both parts empty when it has none. O(log bindings).
  [[nodiscard]] Binding find(const Symbol& symbol) const;

  // Makes `binding` the binding of `symbol`, which this version then holds. O(log bindings).
  void set(Symbol& symbol, const Binding& binding);

 private:
  EnvironmentNode* root_ = nullptr;  // Holds it; null when no name has a binding.
  std::uint32_t height_ = 0;         // Levels of nodes above the leaves.
};

// The graveyard's part for nodes (lisp/graveyard.h): takes apart at most `nodes` nodes that no
// version needs any more. Setting a binding takes apart more nodes than it makes.
void takeEnvironmentsApart(std::size_t nodes);

}  // namespace lisp

#endif  // LISP_ENVIRONMENT_H_
