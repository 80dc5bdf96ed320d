// Values as text for people (shorten) and for the reader (write). Unlike the worker's printer this
// one escapes strings, writes the shortest digits that read back the same, and refuses what has no
// text: an infinity, a symbol whose name would be read as something else, nesting near the reader's
// limit.

#include "explain/value_text.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <string_view>
#include <utility>

#include "lisp/reader.h"

namespace explain {
namespace {

// Below the reader's limit, with room for what stands around the value.
constexpr std::size_t kDepthMax = 500;

class Writer {
 public:
  Writer(std::size_t size_max, bool is_exact) : size_max_(size_max), is_exact_(is_exact) {}

  bool write(const lisp::LispValue& value, std::size_t depth) {
    if (text_.size() > size_max_ || depth > kDepthMax) return false;
    switch (value.kind()) {
      case lisp::ValueKind::Nil:
        text_ += "nil";
        return true;
      case lisp::ValueKind::Number:
        return writeNumber(*lisp::asNumber(value));
      case lisp::ValueKind::String:
        return writeString(*lisp::asText(value));
      case lisp::ValueKind::Symbol:
        return writeSymbol(value);
      case lisp::ValueKind::List:
        break;
    }
    const lisp::LispList elements = *lisp::asList(value);
    text_ += '(';
    bool is_first = true;
    for (const lisp::LispValue& element : elements) {
      if (!is_first) text_ += ' ';
      is_first = false;
      if (!write(element, depth + 1)) return false;
    }
    text_ += ')';
    return text_.size() <= size_max_;
  }

  [[nodiscard]] std::string takeText() { return std::move(text_); }

 private:
  bool writeNumber(double number) {
    if (!std::isfinite(number)) {
      text_ += std::isnan(number) ? (std::signbit(number) ? "-nan" : "nan")
                                  : (number < 0 ? "-inf" : "inf");
      return !is_exact_;
    }
    std::array<char, 40> digits{};
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), number);
    text_.append(digits.data(), end.ptr);
    return true;
  }

  bool writeString(std::string_view bytes) {
    text_ += '"';
    for (const char c : bytes) {
      if (c == '"' || c == '\\') text_ += '\\';
      if (c == '\n') {
        text_ += "\\n";
      } else {
        text_ += c;
      }
      if (text_.size() > size_max_) return false;
    }
    text_ += '"';
    return true;
  }

  bool writeSymbol(const lisp::LispValue& value) {
    const std::string_view name = *lisp::asText(value);
    text_ += name;
    if (!is_exact_) return true;
    const auto again = lisp::parseProgram(name, nullptr);
    return again && again->kind() == lisp::ValueKind::Symbol && *lisp::asText(*again) == name;
  }

  std::string text_;
  std::size_t size_max_;
  bool is_exact_;
};

}  // namespace

std::string shorten(const lisp::LispValue& value, std::size_t size_max) {
  Writer writer(size_max, false);
  const bool is_whole = writer.write(value, 0);
  std::string text = writer.takeText();
  if (is_whole && text.size() <= size_max) return text;
  std::size_t cut = std::min(text.size(), size_max);
  while (cut > 0 && cut < text.size() && (static_cast<unsigned char>(text[cut]) & 0xC0U) == 0x80) {
    --cut;
  }
  return text.substr(0, cut) + "...";
}

std::optional<std::string> write(const lisp::LispValue& value, std::size_t size_max) {
  Writer writer(size_max, true);
  if (!writer.write(value, 0)) return std::nullopt;
  return writer.takeText();
}

std::string counted(std::size_t count, const char* thing) {
  return counted(count, thing, (thing + std::string("s")).c_str());
}

std::string counted(std::size_t count, const char* thing, const char* things) {
  return std::to_string(count) + " " + (count == 1 ? thing : things);
}

std::string kindOf(const lisp::LispValue& value) {
  switch (value.kind()) {
    case lisp::ValueKind::Nil:
      return "nil";
    case lisp::ValueKind::Number:
      return "a number";
    case lisp::ValueKind::String:
      return "a text";
    case lisp::ValueKind::Symbol:
      return "a symbol";
    case lisp::ValueKind::List:
      return lisp::asList(value)->empty() ? "an empty list" : "a list";
  }
  return "";
}

}  // namespace explain
