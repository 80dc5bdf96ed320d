// The prompt's own completion finds the candidates, in the text of one part; here they get the
// names of all texts, and what an editor shows beside each.

#include "console/language/completions.h"

#include <algorithm>
#include <string_view>
#include <utility>

#include "console/completion.h"
#include "console/language/cursor.h"
#include "console/language/hovers.h"
#include "explain/reference.h"

namespace lisp_worker::console::language {
namespace {

CompletionItem itemFor(const Unit& unit, std::string text, bool is_function) {
  CompletionItem item{.text = std::move(text), .kind = CompletionKind::Variable};
  if (!is_function) return item;
  item.kind = CompletionKind::Function;
  const explain::Entry* const entry = explain::findEntry(item.text);
  if (entry != nullptr && entry->group == explain::Group::SpecialForm) {
    item.kind = CompletionKind::Keyword;
  }
  if (entry != nullptr) {
    item.detail = entry->form;
    item.documentation = entry->meaning;
  } else if (const auto signature = signatureOf(unit, item.text)) {
    item.detail = signature->label;
    item.documentation = signature->documentation;
  }
  return item;
}

}  // namespace

Completions completionsAt(const Unit& unit, std::size_t offset) {
  Completions completions{.word = {offset, offset}, .items = {}};
  const auto cursor = cursorAt(unit.texts[unit.own]->parts, offset);
  if (!cursor) return completions;
  std::string_view before = cursor->part->part->text().substr(0, cursor->offset);
  // What begins with a colon is a command at the prompt, and a name here.
  before.remove_prefix(std::min(before.find_first_not_of(" \t\r\n\f\v"), before.size()));
  if (before.starts_with(':')) return completions;
  CompletionSource source;
  const Scopes::Names& names = unit.scopes.names();
  for (const explain::Entry& entry : explain::entries()) source.names.emplace_back(entry.name);
  for (const auto& [name, function] : names.functions) source.names.emplace_back(name);
  source.names.insert(source.names.end(), names.variables.begin(), names.variables.end());
  Completion found = completeAt(before, source);
  completions.word.begin = offset - std::min(found.word.size(), offset);
  const bool is_small = std::any_of(found.word.begin(), found.word.end(),
                                    [](char c) { return c >= 'a' && c <= 'z'; });
  const auto small = [](std::string text) {
    for (char& c : text) c = c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    return text;
  };
  for (Candidate& candidate : found.candidates) {
    if (completions.items.size() == Completions::kCountMax) {
      completions.has_more = true;
      break;
    }
    if (!found.keeps_case) {
      const bool is_group = !candidate.note.empty();
      completions.items.push_back({.text = std::move(candidate.text),
                                   .kind = is_group ? CompletionKind::Group : CompletionKind::Value,
                                   .detail = std::move(candidate.note)});
      continue;
    }
    const bool is_function =
        explain::findEntry(candidate.text) != nullptr || names.functions.contains(candidate.text);
    CompletionItem item = itemFor(unit, std::move(candidate.text), is_function);
    if (is_small) item.text = small(std::move(item.text));
    completions.items.push_back(std::move(item));
  }
  return completions;
}

}  // namespace lisp_worker::console::language
