// Functions call only those that were defined before them, so no program runs for ever.

#include "testing/generators/scope_generator.h"

namespace lisp_worker::testing_support {
namespace {

constexpr const char* kFunctions[] = {"SA", "SB", "SC"};
constexpr const char* kNames[] = {"A", "B", "C", "D"};
constexpr const char* kShow = "(PROGN (SETQ W (CONS (LIST A B C D) W)) NIL)";
constexpr int kFuel = 4;
constexpr int kManyLocals = 20;
// Assigns so many locals that a callee, should this be in its arguments, restores them late.
constexpr const char* kManyChanges = "(SETQ Z1 1 Z2 2 Z3 3 Z4 4 Z5 5 Z6 6 Z7 7 Z8 8 Z9 9)";

}  // namespace

std::string ScopeGenerator::name() { return random_.pick(kNames); }

std::string ScopeGenerator::constant() { return std::to_string(++next_number_); }

std::string ScopeGenerator::program() {
  std::string text = "(SETQ A 'GA B 'GB C 'GC D 'GD W NIL) ";
  const std::size_t count = 1 + random_.below(kFunctionCountMax);
  for (std::size_t i = 0; i < count; ++i) text += definition(i) + "\n";
  text += "(LIST";
  for (int i = random_.between(1, 3); i > 0; --i) text += " " + call(count, kFuel);
  return text + " A B C D W)";
}

std::string ScopeGenerator::definition(std::size_t index) {
  std::string text = "(DEFUN ";
  text += kFunctions[index];
  text += " (";
  parameter_counts_[index] = random_.between(0, 3);
  for (int i = parameter_counts_[index]; i > 0; --i) text += name() + " ";
  if (random_.chance(1, 2)) {
    text += "/";
    for (int i = random_.between(0, 2); i > 0; --i) text += " " + name();
    if (random_.chance(1, 4)) {
      for (int i = kManyLocals; i > 0; --i) text += " Z" + std::to_string(i);
    }
  }
  text += ") ";
  text += kShow;
  for (int i = random_.between(0, 2); i > 0; --i) text += " " + expression(index, kFuel);
  text += " ";
  text += kShow;
  return text + " " + name() + ")";
}

std::string ScopeGenerator::expression(std::size_t callable, int fuel) {
  if (fuel <= 0) return random_.chance(1, 2) ? name() : constant();
  switch (random_.below(10)) {
    case 0:
      return name();
    case 1:
      return random_.chance(1, 2) ? constant() : random_.pick({kShow, kManyChanges});
    case 2: {
      const std::string first = expression(callable, fuel - 1);
      return "(PROGN " + first + " " + expression(callable, fuel - 1) + ")";
    }
    case 3: {
      const std::string condition = name();
      return "(IF " + condition + " (SETQ " + name() + " NIL) 0)";
    }
    case 4:
    case 5:
    case 6: {
      const std::string target = name();
      return "(SETQ " + target + " " + expression(callable, fuel - 1) + ")";
    }
    default:
      return call(callable, fuel - 1);
  }
}

std::string ScopeGenerator::call(std::size_t callable, int fuel) {
  if (callable == 0) return kShow;
  const std::size_t index = random_.below(callable);
  std::string text = "(";
  text += kFunctions[index];
  for (int i = parameter_counts_[index]; i > 0; --i) text += " " + expression(callable, fuel - 1);
  return text + ")";
}

}  // namespace lisp_worker::testing_support
