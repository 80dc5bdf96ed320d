// A text is cut into tokens as the reader does it: strings with backslashes, comments from a
// semicolon to the end of the line, parentheses, apostrophes, and atoms between them.

#include "console/form_layout.h"

#include <algorithm>

#include "console/command_input.h"
#include "console/utf8.h"
#include "explain/form.h"
#include "explain/format.h"
#include "explain/source.h"

namespace lisp_worker::console {
namespace {

constexpr std::string_view kDelimiters = " \t\r\n\f\v()'\";";

std::size_t stringEnd(std::string_view text, std::size_t begin, bool& is_open) {
  for (std::size_t at = begin + 1; at < text.size(); ++at) {
    if (text[at] == '\\') {
      ++at;
    } else if (text[at] == '"') {
      return at + 1;
    }
  }
  is_open = true;
  return text.size();
}

std::size_t lettersBetween(std::string_view text, std::size_t begin, std::size_t end) {
  std::size_t count = 0;
  for (; begin < end; ++count) begin += letterAt(text.substr(begin)).size;
  return count;
}

}  // namespace

std::vector<Token> tokensOf(std::string_view text) {
  std::vector<Token> tokens;
  for (std::size_t at = 0; at < text.size();) {
    const char c = text[at];
    Token token{TokenKind::Atom, at, at + 1};
    if (c == '(') {
      token.kind = TokenKind::Open;
    } else if (c == ')') {
      token.kind = TokenKind::Close;
    } else if (c == '\'') {
      token.kind = TokenKind::Quote;
    } else if (c == '"') {
      token.kind = TokenKind::String;
      token.end = stringEnd(text, at, token.is_open);
    } else if (c == ';') {
      token.kind = TokenKind::Comment;
      token.end = std::min(text.find('\n', at), text.size());
    } else if (kDelimiters.find(c) != std::string_view::npos) {
      ++at;
      continue;
    } else {
      token.end = std::min(text.find_first_of(kDelimiters, at), text.size());
    }
    at = token.end;
    tokens.push_back(token);
  }
  return tokens;
}

std::optional<std::size_t> openAt(std::string_view text) {
  const explain::Source source("input", std::string(text));
  const explain::Reading reading = explain::readForms(source);
  if (!reading.fault || !reading.fault->is_unfinished) return std::nullopt;
  return reading.fault->open_at;
}

std::optional<std::size_t> matchingBracket(std::string_view text, std::size_t at) {
  std::vector<std::size_t> open;
  for (const Token& token : tokensOf(text)) {
    if (token.kind == TokenKind::Open) {
      open.push_back(token.begin);
    } else if (token.kind == TokenKind::Close) {
      if (open.empty()) {
        if (token.begin >= at) return std::nullopt;
        continue;
      }
      if (token.begin == at) return open.back();
      if (open.back() == at) return token.begin;
      open.pop_back();
    }
  }
  return std::nullopt;
}

std::size_t indentAfter(std::string_view text, std::size_t margin) {
  const std::vector<Token> tokens = tokensOf(text);
  if (!tokens.empty() && tokens.back().is_open) return 0;
  std::vector<std::size_t> open;  // Indices of tokens.
  for (std::size_t n = 0; n < tokens.size(); ++n) {
    if (tokens[n].kind == TokenKind::Open) open.push_back(n);
    if (tokens[n].kind == TokenKind::Close && !open.empty()) open.pop_back();
  }
  if (open.empty()) return 0;
  const auto column_of = [&](std::size_t at) {
    const std::size_t line_end = at == 0 ? text.npos : text.rfind('\n', at - 1);
    const std::size_t begin = line_end == text.npos ? 0 : line_end + 1;
    return lettersBetween(text, begin, at) + (begin == 0 ? margin : 0);
  };
  const std::size_t list = open.back();
  const std::size_t column = column_of(tokens[list].begin);
  const bool has_name = list + 1 < tokens.size() && tokens[list + 1].kind == TokenKind::Atom;
  if (!has_name) return column + 1;
  const Token& name = tokens[list + 1];
  if (explain::hasBody(text.substr(name.begin, name.end - name.begin))) return column + 2;
  if (list + 2 == tokens.size()) return column + 2;
  const Token& argument = tokens[list + 2];
  const std::string_view between = text.substr(name.end, argument.begin - name.end);
  const bool is_beside =
      argument.kind != TokenKind::Comment && between.find('\n') == std::string_view::npos;
  return is_beside ? column_of(argument.begin) : column + 2;
}

std::string withoutMargin(std::string_view text, std::size_t margin) {
  for (const Token& token : tokensOf(text)) {
    const std::string_view part = text.substr(token.begin, token.end - token.begin);
    if (token.kind == TokenKind::String && part.find('\n') != part.npos) return std::string(text);
  }
  const std::string blanks(margin, ' ');
  std::string result(text.substr(0, std::min(text.find('\n'), text.size())));
  for (std::size_t at = result.size(); at < text.size();) {
    const std::size_t end = std::min(text.find('\n', at + 1), text.size());
    std::string_view line = text.substr(at + 1, end - at - 1);
    at = end;
    const bool is_empty = line.find_first_not_of(" \t") == line.npos;
    if (!is_empty && !line.starts_with(blanks)) return std::string(text);
    line.remove_prefix(std::min(line.size(), margin));
    result += "\n";
    result += line;
  }
  return result;
}

std::string withLastValue(std::string_view text, std::string_view value) {
  std::string result;
  std::size_t copied = 0;
  for (const Token& token : tokensOf(text)) {
    if (token.kind != TokenKind::Atom) continue;
    if (upperCase(text.substr(token.begin, token.end - token.begin)) != ":LAST") continue;
    result += text.substr(copied, token.begin - copied);
    result += value;
    copied = token.end;
  }
  return result + std::string(text.substr(copied));
}

}  // namespace lisp_worker::console
