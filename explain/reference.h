// Every special form and builtin function of the dialect: the arguments that it takes, what it does
// and the errors that it raises, for people. The evaluator has tables of its own, without words; a
// test checks that both agree.

#ifndef EXPLAIN_REFERENCE_H_
#define EXPLAIN_REFERENCE_H_

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <span>
#include <string>
#include <string_view>

#include "explain/kind.h"

namespace explain {

enum class Group : std::uint8_t { SpecialForm, Builtin, HostCall };

inline constexpr std::size_t kAnyCount = std::numeric_limits<std::size_t>::max();

struct Entry {
  std::string_view name;
  Group group;
  std::size_t count_min;  // Of arguments.
  std::size_t count_max;
  std::string_view form;     // "(CONS VALUE LIST)"
  std::string_view meaning;  // One or two sentences.
  std::string_view example;  // A program, and what it comes to as the worker writes it; a host call
  std::string_view result;   // that waits gives "waits for NAME ARGUMENTS".
  std::string_view messages = {};  // The errors of its own, with "; " between them.
  // A letter for each argument of a builtin, the last for all that follow; nothing for any value.
  std::string_view kinds = {};

  [[nodiscard]] Kind kindAt(std::size_t argument) const {
    return kinds.empty() ? Kind::Any : Kind{kinds[std::min(argument, kinds.size() - 1)]};
  }
};

// All of them: special forms, builtins, host calls.
[[nodiscard]] std::span<const Entry> entries();

// Null for a name that is neither.
[[nodiscard]] const Entry* findEntry(std::string_view name);

// The entry as `:doc` shows it, some lines.
[[nodiscard]] std::string describe(const Entry& entry);

}  // namespace explain

#endif  // EXPLAIN_REFERENCE_H_
