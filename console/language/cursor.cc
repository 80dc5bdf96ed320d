#include "console/language/cursor.h"

#include <algorithm>

namespace lisp_worker::console::language {

using explain::Form;

const Form* Cursor::list() const {
  const auto found = std::find_if(around.rbegin(), around.rend(), [](const Form* form) {
    return form->isList() && !isApostrophe(*form);
  });
  return found == around.rend() ? nullptr : *found;
}

bool Cursor::isQuoted() const {
  return std::any_of(around.begin(), around.end(), [this](const Form* form) {
    return form->operatorName() == "QUOTE" && form != around.back();
  });
}

std::optional<Cursor> cursorAt(const ProgramParts& parts, std::size_t offset) {
  if (parts.all().empty()) return std::nullopt;
  std::size_t index = parts.indexAt(offset);
  // Between two parts a form may end at the cursor.
  for (const std::size_t n : {index, index - (index > 0 ? 1U : 0U)}) {
    const PlacedPart& part = parts.all()[n];
    auto around = formsAround(*part.part, offset - part.begin);
    if (!around.empty()) return Cursor{&part, offset - part.begin, std::move(around)};
    if (part.begin != offset) break;
  }
  const PlacedPart& part = parts.all()[index];
  return Cursor{&part, offset - part.begin, {}};
}

bool isApostrophe(const Form& form) {
  return !form.items.empty() && form.items.front().begin == form.begin;
}

std::size_t itemAt(const Form& list, std::size_t offset) {
  const auto found =
      std::partition_point(list.items.begin(), list.items.end(), [offset](const Form& item) {
        return item.isList() && !isApostrophe(item) ? item.end <= offset : item.end < offset;
      });
  return static_cast<std::size_t>(found - list.items.begin());
}

std::string_view contentOf(const Part& part, const Form& string) {
  const Span span = part.spanOf(string);
  std::string_view text = part.text().substr(span.begin, span.size());
  if (text.starts_with('"')) text.remove_prefix(1);
  if (text.ends_with('"')) text.remove_suffix(1);
  return text;
}

std::string commentAbove(const Part& part, const Form& form) {
  const std::string_view text = part.text();
  std::vector<std::string_view> lines;
  std::size_t line_begin = form.begin == 0 ? 0 : text.rfind('\n', form.begin - 1) + 1;
  while (line_begin > 0) {
    const std::size_t end = line_begin - 1;
    line_begin = end == 0 ? 0 : text.rfind('\n', end - 1) + 1;
    std::string_view line = text.substr(line_begin, end - line_begin);
    line.remove_prefix(std::min(line.find_first_not_of(" \t"), line.size()));
    if (!line.starts_with(';') || line.starts_with(";@")) break;
    line.remove_prefix(std::min(line.find_first_not_of(';'), line.size()));
    line = line.substr(0, line.find_last_not_of(" \t\r") + 1);
    if (line.starts_with(' ')) line.remove_prefix(1);
    lines.push_back(line);
  }
  std::string comment;
  std::reverse(lines.begin(), lines.end());
  for (const std::string_view line : lines) {
    comment += line;
    comment += '\n';
  }
  return comment;
}

}  // namespace lisp_worker::console::language
