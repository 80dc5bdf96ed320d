// The kinds that arguments of calls may have where they stand, as far as they are known without
// running a program.
//
//   (SETQ X "a")           X is the text "a"
//   (IF (READY) (SETQ X 5))
//   (+ X 1)                X is a text or a number: no complaint
//   (SETQ S (SSGET "X"))   S is a list or nil
//   (IF S (SSLENGTH S))    S is a list here, because it was asked for
//   (DEFUN F (P) (+ P 1))  the first argument of F goes to +
//
// The forms are walked in the order in which they are evaluated, with what each variable may be at
// the moment. At the top level these are the variables that no function assigns, in a function its
// own: a function that it calls assigns copies of them. Nothing is known of others, nor in a loop
// of what the loop assigns.

#ifndef CHECK_FLOW_H_
#define CHECK_FLOW_H_

#include <cstddef>
#include <limits>
#include <map>
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
  static constexpr std::size_t kNoParameter = std::numeric_limits<std::size_t>::max();

  static constexpr unsigned bitOf(lisp::ValueKind kind) {
    return 1U << static_cast<unsigned>(kind);
  }

  unsigned kinds = kAny;                         // A bit for each kind that is possible.
  std::optional<lisp::LispValue> constant = {};  // The only possible value.
  const explain::Form* host_call = nullptr;      // It may be this call's answer.
  std::size_t parameter = kNoParameter;          // It is what the function was given for this one.

  [[nodiscard]] bool mayBe(lisp::ValueKind kind) const { return (kinds & bitOf(kind)) != 0; }
};

// An argument of a call, counted from 0.
struct Argument {
  const explain::Form* call = nullptr;
  std::size_t index = 0;
};

// The effects of a function's body that hold for every call of it that ends.
struct Signature {
  static constexpr std::size_t kUsesMax = 4;  // Of one parameter.

  std::map<std::size_t, std::vector<Argument>> uses = {};  // Where each parameter certainly goes.
  Known result = {};
};

// By the DEFUN.
using Signatures = std::unordered_map<const explain::Form*, Signature>;

class Flow {
 public:
  // `names` are those of all programs that run before these forms, and of theirs; `signatures` is
  // what is known of functions of the programs before, and takes those that are defined here.
  Flow(const std::vector<explain::Form>& forms, const ProgramNames& names, Signatures& signatures);

  // Of an argument of a call; null when nothing is known of it.
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
  // The form may not be evaluated.
  Known lookInDoubt(const explain::Form& form);
  void noteUse(const explain::Form& call, std::size_t index, const Known& argument);

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
  Signatures& signatures_;
  const Definition* inside_ = nullptr;
  std::size_t doubts_ = 0;  // Conditions and loops of the function that are around the form.
  std::size_t work_ = 0;
  std::unordered_map<std::string_view, Known> values_;
  std::vector<std::pair<std::string_view, std::optional<Known>>> trail_;  // Values before.
  std::unordered_map<const explain::Form*, Known> arguments_;
};

}  // namespace check

#endif  // CHECK_FLOW_H_
