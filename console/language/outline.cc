#include "console/language/outline.h"

#include <algorithm>
#include <string_view>
#include <unordered_set>

#include "console/language/cursor.h"

namespace lisp_worker::console::language {
namespace {

using explain::Form;

// Follows the lines of places that come one after the other.
class LineWalker {
 public:
  LineWalker(const TextDocument& document, std::size_t offset)
      : document_(document), line_(document.lineOf(offset)) {}

  // No place before this one is asked for any more.
  std::size_t lineOf(std::size_t offset) {
    while (line_ + 1 < document_.lineCount() && document_.lineSpan(line_ + 1).begin <= offset) {
      ++line_;
    }
    return line_;
  }
  [[nodiscard]] bool endsInLine(std::size_t offset) const {
    return offset <= document_.lineSpan(line_).end;
  }

 private:
  const TextDocument& document_;
  std::size_t line_;
};

void appendListFolds(const ProgramText& text, const PlacedPart& part,
                     const std::vector<Form>& forms, LineWalker& walker, std::vector<Fold>& folds) {
  for (const Form& form : forms) {
    if (!form.isList()) continue;
    const Span span = part.placed(part.part->spanOf(form));
    const std::size_t first = walker.lineOf(span.begin);
    if (walker.endsInLine(span.end)) continue;  // Nor do forms inside it have lines.
    const std::size_t last = text.document.lineOf(span.end);
    if (folds.empty() || folds.back().first_line != first) folds.push_back({first, last});
    appendListFolds(text, part, form.items, walker, folds);
  }
}

void appendCommentFolds(const ProgramText& text, const PlacedPart& part, std::vector<Fold>& folds) {
  constexpr auto kNone = static_cast<std::size_t>(-1);
  Fold fold{.first_line = kNone, .last_line = kNone, .is_comment = true};
  const auto end = [&] {
    if (fold.first_line != fold.last_line) folds.push_back(fold);
    fold.first_line = fold.last_line = kNone;
  };
  std::size_t last_code_line = kNone;
  LineWalker walker(text.document, part.begin);
  for (const Token& token : part.part->tokens()) {
    const std::size_t line = walker.lineOf(part.begin + token.begin);
    const bool is_alone = token.kind == TokenKind::Comment && line != last_code_line;
    if (!is_alone) {
      end();
      last_code_line = walker.lineOf(part.begin + token.end);
      continue;
    }
    if (fold.first_line != kNone && line != fold.last_line + 1) end();
    if (fold.first_line == kNone) fold.first_line = line;
    fold.last_line = line;
  }
  end();
}

}  // namespace

std::vector<Definition> definitionsIn(const ProgramParts& parts) {
  std::vector<Definition> definitions;
  std::unordered_set<std::string_view> variables;
  for (const PlacedPart& part : parts.all()) {
    const PartNames& names = part.part->names();
    auto function = names.functions.begin();  // In the order of their names.
    for (const Occurrence& each : names.occurrences) {
      const bool is_variable = each.role == Role::Assignment && each.function == kTopLevel;
      if (is_variable && variables.insert(each.name).second) {
        const std::vector<const Form*> around = formsAround(*part.part, each.span.begin);
        definitions.push_back({.name = each.name,
                               .is_function = false,
                               .span = part.placed(part.part->spanOf(*around.front())),
                               .name_span = part.placed(each.span)});
      } else if (each.role == Role::Definition) {
        definitions.push_back({.name = each.name,
                               .is_function = true,
                               .span = part.placed(part.part->spanOf(*function->form)),
                               .name_span = part.placed(each.span)});
        ++function;
      }
    }
  }
  return definitions;
}

std::vector<Fold> foldsIn(const ProgramText& text) {
  std::vector<Fold> folds;
  for (const PlacedPart& part : text.parts.all()) {
    const std::size_t begin = folds.size();
    LineWalker walker(text.document, part.begin);
    appendListFolds(text, part, part.part->forms(), walker, folds);
    appendCommentFolds(text, part, folds);
    std::stable_sort(folds.begin() + static_cast<std::ptrdiff_t>(begin), folds.end(),
                     [](const Fold& a, const Fold& b) { return a.first_line < b.first_line; });
  }
  const auto last = std::unique(folds.begin(), folds.end(), [](const Fold& a, const Fold& b) {
    return a.first_line == b.first_line;
  });
  folds.erase(last, folds.end());
  return folds;
}

std::vector<Span> selectionsAt(const ProgramText& text, std::size_t offset) {
  std::vector<Span> spans = {{0, text.document.text().size()}};
  const auto add = [&spans](const Span& span) {
    if (!(spans.back() == span)) spans.push_back(span);
  };
  if (const auto cursor = cursorAt(text.parts, offset)) {
    const Part& part = *cursor->part->part;
    for (const Form* const form : cursor->around) {
      const Span span = cursor->part->placed(part.spanOf(*form));
      add(span);
      // What is between the parentheses, or between the quotes.
      const bool has_ends =
          (form->isList() && !isApostrophe(*form)) || form->value.kind() == lisp::ValueKind::String;
      const Span inner{span.begin + 1, span.end - (span.size() > 1 ? 1U : 0U)};
      if (has_ends && inner.begin < inner.end && inner.touches(offset)) add(inner);
    }
  }
  std::reverse(spans.begin(), spans.end());
  return spans;
}

}  // namespace lisp_worker::console::language
