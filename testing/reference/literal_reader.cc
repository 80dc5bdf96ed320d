// Recursive descent, one byte at a time.

#include "testing/reference/literal_reader.h"

#include <cctype>
#include <cmath>
#include <cstdlib>
#include <utility>

namespace lisp_worker::testing_support {
namespace {

constexpr std::uint32_t kNestingMax = 512;
constexpr char kOldEndOfFile = 0x1A;

// The tests never call setlocale, so these see the "C" locale.
bool isSpace(char byte) { return std::isspace(static_cast<unsigned char>(byte)) != 0; }

char toUpper(char byte) {
  return static_cast<char>(std::toupper(static_cast<unsigned char>(byte)));
}

bool endsToken(char byte) {
  return isSpace(byte) || byte == '(' || byte == ')' || byte == '\'' || byte == ';' || byte == '"';
}

}  // namespace

void LiteralReader::skipBlanks() {
  while (true) {
    bool moved = false;
    while (!atEnd() && (isSpace(text_[position_]) || text_[position_] == kOldEndOfFile)) {
      ++position_;
      moved = true;
    }
    if (!atEnd() && text_[position_] == ';') {
      while (!atEnd() && text_[position_] != '\n') ++position_;
      moved = true;
    }
    if (!moved) return;
  }
}

std::optional<LiteralValue> LiteralReader::fail(const char* message) {
  error_ = message;
  return std::nullopt;
}

std::optional<LiteralValue> LiteralReader::readForm(std::uint32_t depth) {
  if (depth > kNestingMax) return fail("parser nesting limit exceeded");
  skipBlanks();
  if (atEnd()) return fail("unexpected end of input");
  switch (text_[position_]) {
    case '(':
      return readList(depth);
    case ')':
      return fail("unexpected ')'");
    case '\'':
      return readQuoted(depth);
    case '"':
      return readString();
    default:
      return readAtom();
  }
}

std::optional<LiteralValue> LiteralReader::readList(std::uint32_t depth) {
  ++position_;
  skipBlanks();
  std::vector<LiteralValue> elements;
  while (true) {
    if (atEnd()) return fail("unterminated list");
    if (text_[position_] == ')') {
      ++position_;
      return literalList(std::move(elements));
    }
    std::optional<LiteralValue> element = readForm(depth + 1);
    if (!element.has_value()) return std::nullopt;
    elements.push_back(std::move(*element));
    skipBlanks();
  }
}

std::optional<LiteralValue> LiteralReader::readQuoted(std::uint32_t depth) {
  ++position_;
  std::optional<LiteralValue> quoted = readForm(depth + 1);
  if (!quoted.has_value()) return std::nullopt;
  return literalList({literalSymbol("QUOTE"), std::move(*quoted)});
}

std::optional<LiteralValue> LiteralReader::readString() {
  ++position_;
  std::string bytes;
  while (true) {
    if (atEnd()) return fail("unterminated string");
    const char byte = text_[position_];
    ++position_;
    if (byte == '"') return literalString(std::move(bytes));
    if (byte == '\\' && !atEnd()) {
      const char escaped = text_[position_];
      ++position_;
      if (escaped == 'n') {
        bytes += '\n';
      } else if (escaped == 'r') {
        bytes += '\r';
      } else if (escaped == 't') {
        bytes += '\t';
      } else {
        bytes += escaped;
      }
      continue;
    }
    bytes += byte;
  }
}

std::optional<LiteralValue> LiteralReader::readAtom() {
  std::string token;
  while (!atEnd() && !endsToken(text_[position_])) {
    token += text_[position_];
    ++position_;
  }
  if (token.empty()) return fail("invalid token");

  char* stopped_at = nullptr;
  const double number = std::strtod(token.c_str(), &stopped_at);
  const auto consumed = static_cast<std::size_t>(stopped_at - token.c_str());
  if (consumed > 0 && consumed == token.size() && std::isfinite(number)) {
    return literalNumber(number);
  }

  std::string folded;
  for (const char byte : token) folded += toUpper(byte);
  if (folded == "NIL") return literalNil();
  return literalSymbol(std::move(folded));
}

std::optional<LiteralValue> literalParseSingle(std::string_view text, std::string* error_out) {
  LiteralReader reader(text);
  std::vector<LiteralValue> forms;
  bool failed = false;
  reader.skipBlanks();
  while (!reader.atEnd()) {
    std::optional<LiteralValue> form = reader.readForm(0);
    if (!form.has_value()) {
      failed = true;
      break;
    }
    forms.push_back(std::move(*form));
    reader.skipBlanks();
  }
  if (forms.size() == 1 && !failed) {
    error_out->clear();
    return forms[0];
  }
  *error_out = reader.error().empty() ? "expected exactly one form" : reader.error();
  return std::nullopt;
}

std::optional<std::vector<LiteralValue>> literalParseAll(std::string_view text,
                                                         std::string* error_out) {
  LiteralReader reader(text);
  std::vector<LiteralValue> forms;
  while (true) {
    reader.skipBlanks();
    if (reader.atEnd()) break;
    std::optional<LiteralValue> form = reader.readForm(0);
    if (!form.has_value()) {
      *error_out = reader.error();
      return std::nullopt;
    }
    forms.push_back(std::move(*form));
  }
  error_out->clear();
  return forms;
}

}  // namespace lisp_worker::testing_support
