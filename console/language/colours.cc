// The numbers of all tokens of a part except the first do not depend on where the part is. So a
// part is encoded once, and the answer for a whole text is put together from pieces.

#include "console/language/colours.h"

#include <algorithm>
#include <utility>

#include "console/language/cursor.h"
#include "explain/reference.h"

namespace lisp_worker::console::language {
namespace {

constexpr unsigned bitOf(Mark mark) { return 1U << static_cast<unsigned>(mark); }

ColouredToken colourOf(const PartNames& names, const Occurrence& name) {
  ColouredToken token{.span = name.span};
  const bool is_parameter =
      name.function != kTopLevel && names.functions[name.function].owns(name.name);
  switch (name.role) {
    case Role::Definition:
      token.colour = Colour::Function;
      token.marks = bitOf(Mark::Declaration);
      break;
    case Role::Call: {
      const bool is_builtin = explain::findEntry(name.name) != nullptr;
      const bool is_sign = is_builtin && name.name.find_first_of("ABCDEFGHIJKLMNOPQRSTUVWXYZ") ==
                                             std::string_view::npos;
      token.colour = is_sign ? Colour::Operator : Colour::Function;
      token.marks = is_builtin ? bitOf(Mark::Library) : 0U;
      break;
    }
    case Role::Parameter:
    case Role::Local:
      token.colour = Colour::Parameter;
      token.marks = bitOf(Mark::Declaration);
      break;
    case Role::Assignment:
    case Role::Read:
      token.colour = is_parameter ? Colour::Parameter : Colour::Variable;
      token.marks = name.role == Role::Assignment ? bitOf(Mark::Changed) : 0U;
      break;
  }
  return token;
}

void append(std::string& text, std::size_t number) {
  text += std::to_string(number);
  text += ',';
}

// The pieces of a token, one for each of its lines.
template <typename Take>
void forEachLine(const TextDocument& document, const Span& span, Take take) {
  const std::size_t last = document.lineOf(span.end);
  for (std::size_t line = document.lineOf(span.begin); line <= last; ++line) {
    const Span whole = document.lineSpan(line);
    const Span piece{std::max(whole.begin, span.begin), std::min(whole.end, span.end)};
    if (piece.begin < piece.end) take(piece);
  }
}

// "line,column," from one place to a later one.
void appendStep(const TextDocument& document, std::size_t from, std::size_t to,
                std::string& numbers) {
  const Position before = document.positionOf(from);
  const Position at = document.positionOf(to);
  append(numbers, at.line - before.line);
  append(numbers, at.line == before.line ? at.character - before.character : at.character);
}

void appendRest(const TextDocument& document, const Span& piece, const ColouredToken& token,
                std::string& numbers) {
  append(numbers, document.unitsIn(document.textOf(piece)));
  append(numbers, static_cast<std::size_t>(token.colour));
  append(numbers, token.marks);
}

}  // namespace

std::vector<ColouredToken> colouredTokens(const Part& part) {
  std::vector<ColouredToken> coloured;
  const PartNames& names = part.names();
  auto name = names.occurrences.begin();
  bool is_first = false;  // In its list.
  for (const Token& token : part.tokens()) {
    const Span span{token.begin, token.end};
    while (name != names.occurrences.end() && name->span.begin < token.begin) ++name;
    const bool was_first = std::exchange(is_first, token.kind == TokenKind::Open);
    switch (token.kind) {
      case TokenKind::String:
        coloured.push_back({span, Colour::String});
        break;
      case TokenKind::Comment:
        coloured.push_back({span, Colour::Comment});
        break;
      case TokenKind::Atom: {
        if (name != names.occurrences.end() && name->span == span) {
          coloured.push_back(colourOf(names, *name));
          break;
        }
        const std::vector<const explain::Form*> around = formsAround(part, span.begin);
        if (around.empty()) break;
        if (around.back()->value.kind() == lisp::ValueKind::Number) {
          coloured.push_back({span, Colour::Number});
        } else if (was_first && around.size() > 1) {
          const explain::Entry* const entry = around[around.size() - 2]->entry;
          const bool is_special = entry != nullptr && entry->group == explain::Group::SpecialForm;
          if (is_special) coloured.push_back({span, Colour::Keyword});
        }
        break;
      }
      case TokenKind::Open:
      case TokenKind::Close:
      case TokenKind::Quote:
        break;
    }
  }
  return coloured;
}

Colouring::Encoded Colouring::encodePart(const TextDocument& document, const PlacedPart& part) {
  Encoded encoded{.part = part.part};
  for (const ColouredToken& token : colouredTokens(*part.part)) {
    forEachLine(document, part.placed(token.span), [&](const Span& piece) {
      if (encoded.is_empty) {
        encoded.is_empty = false;
        encoded.first = {piece.begin - part.begin, piece.end - part.begin};
        appendRest(document, piece, token, encoded.first_rest);
      } else {
        appendStep(document, part.begin + encoded.last_begin, piece.begin, encoded.rest);
        appendRest(document, piece, token, encoded.rest);
      }
      encoded.last_begin = piece.begin - part.begin;
    });
  }
  return encoded;
}

std::string Colouring::encode(const ProgramText& text, const Span& span) {
  std::string numbers;
  std::unordered_map<const Part*, Encoded> kept;
  std::size_t last = 0;
  const std::vector<PlacedPart>& parts = text.parts.all();
  const bool is_whole = span.begin == 0 && span.end == text.document.text().size();
  for (std::size_t n = parts.empty() ? 0 : text.parts.indexAt(span.begin);
       n < parts.size() && parts[n].begin <= span.end; ++n) {
    const PlacedPart& part = parts[n];
    auto known = parts_.find(part.part.get());
    Encoded encoded = known == parts_.end() ? encodePart(text.document, part) : known->second;
    if (!encoded.is_empty) {
      appendStep(text.document, last, part.begin + encoded.first.begin, numbers);
      numbers += encoded.first_rest;
      numbers += encoded.rest;
      last = part.begin + encoded.last_begin;
    }
    if (known == parts_.end() || is_whole) kept.emplace(part.part.get(), std::move(encoded));
  }
  if (is_whole) {
    parts_ = std::move(kept);
  } else {
    parts_.merge(kept);
  }
  if (!numbers.empty()) numbers.pop_back();
  return numbers;
}

}  // namespace lisp_worker::console::language
