// The words that may come next where a person types.

#ifndef CONSOLE_LANGUAGE_COMPLETIONS_H_
#define CONSOLE_LANGUAGE_COMPLETIONS_H_

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "console/language/text_document.h"
#include "console/language/workspace.h"

namespace lisp_worker::console::language {

// The protocol's numbers.
enum class CompletionKind : std::uint8_t {
  Function = 3,
  Variable = 6,
  Value = 12,
  Keyword = 14,
  Group = 20,
};

struct CompletionItem {
  std::string text;
  CompletionKind kind = CompletionKind::Value;
  std::string detail = {};
  std::string documentation = {};  // Markdown; may be empty.
};

struct Completions {
  // More than these are of no use to a person, and slow.
  static constexpr std::size_t kCountMax = 500;

  Span word;  // The text that an item takes the place of.
  std::vector<CompletionItem> items;
  bool has_more = false;
};

[[nodiscard]] Completions completionsAt(const Unit& unit, std::size_t offset);

}  // namespace lisp_worker::console::language

#endif  // CONSOLE_LANGUAGE_COMPLETIONS_H_
