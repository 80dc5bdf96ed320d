// The kinds that arguments of calls may have where they stand, as far as they are known without
// running a program.
//
//   (SETQ X "a")           X is the text "a"
//   (IF (READY) (SETQ X 5))
//   (+ X 1)                X is a text or a number: no complaint
//   (SETQ S (SSGET "X"))   S is a list or nil
//   (IF S (SSLENGTH S))    S is a list here, because it was asked for
//
// The forms are walked in the order in which they are evaluated, with what each variable may be at
// the moment. At the top level these are the variables that no function assigns, in a function its
// own: a function that it calls assigns copies of them. Nothing is known of others, nor in a loop
// of what the loop assigns.

#ifndef CHECK_FLOW_H_
#define CHECK_FLOW_H_

#include <cstddef>
#include <optional>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "check/program_names.h"
#include "explain/form.h"
#include "lisp/value.h"

namespace check {

// The values that a form may come to.
struct Known {
  static constexpr unsigned kAny = 0x1F;

  static constexpr unsigned bitOf(lisp::ValueKind kind) {
    return 1U << static_cast<unsigned>(kind);
  }

  unsigned kinds = kAny;                         // A bit for each kind that is possible.
  std::optional<lisp::LispValue> constant = {};  // The only possible value.
  const explain::Form* host_call = nullptr;      // It may be this call's answer.

  [[nodiscard]] bool mayBe(lisp::ValueKind kind) const { return (kinds & bitOf(kind)) != 0; }
};

class Flow {
 public:
  // `names` are those of all programs that run before these forms, and of theirs.
  Flow(const std::vector<explain::Form>& forms, const ProgramNames& names);

  // Of an argument of a builtin function or a host call; null when nothing is known of it.
  [[nodiscard]] const Known* find(const explain::Form& argument) const;

 private:
  using Change = std::pair<std::string_view, Known>;

  Known look(const explain::Form& form);
  Known lookAtItems(const explain::Form& form, std::size_t begin);
  Known lookAtSpecialForm(const explain::Form& form);
  Known lookAtChoice(const explain::Form& form);
  Known lookAtSequence(const explain::Form& form, bool goes_on_when_true);
  Known lookAtLoop(const explain::Form& form);
  void lookAtFunction(const explain::Form& form);
  Known lookAtCall(const explain::Form& form);

  [[nodiscard]] bool isTracked(std::string_view name) const;
  [[nodiscard]] Known valueOf(std::string_view name) const;
  void set(std::string_view name, Known value);
  // Takes back what was set since, and returns the latest value of each name.
  std::vector<Change> takeBack(std::size_t mark);
  void join(std::vector<Change> one, std::vector<Change> other);
  // The condition has come to nil, or to something else.
  void assume(const explain::Form& condition, bool is_true);
  void forgetAssigned(const explain::Form& form);
  // Counts work that nesting repeats. False when it is too much; nothing is known then.
  bool spend(std::size_t work);

  const ProgramNames& names_;
  const Definition* inside_ = nullptr;
  std::size_t work_ = 0;
  std::unordered_map<std::string_view, Known> values_;
  std::vector<std::pair<std::string_view, std::optional<Known>>> trail_;  // Values before.
  std::unordered_map<const explain::Form*, Known> arguments_;
};

}  // namespace check

#endif  // CHECK_FLOW_H_
