// Reads what the worker writes, which is not what it reads: strings are not escaped. So a double
// quote inside a string cannot always be told from its end. A quote counts as the end when a value
// may end there: before a blank, before a closing parenthesis, or at the end of the text.

#include "lisp_worker/client/worker_text.h"

#include <cstdint>
#include <limits>
#include <utility>

#include "lisp_worker/client/answer_text.h"
#include "lisp_worker/client/number_text.h"

namespace lisp_worker::client {
namespace {

// The worker never writes a symbol in lower case, so these spellings are numbers.
std::optional<double> readNonFinite(std::string_view token) {
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
  if (token == "inf") return kInfinity;
  if (token == "-inf") return -kInfinity;
  if (token == "nan") return kNaN;
  if (token == "-nan") return -kNaN;
  return std::nullopt;
}

class WorkerTextReader {
 public:
  explicit WorkerTextReader(std::string_view text) : text_(text) {}

  std::optional<Datum> readWhole() {
    std::optional<Datum> datum = readValue(0);
    if (datum && position_ != text_.size()) return fail("text goes on after the value");
    return datum;
  }

  [[nodiscard]] const std::string& error() const { return error_; }

 private:
  [[nodiscard]] bool startsWith(char c) const {
    return position_ < text_.size() && text_[position_] == c;
  }

  // True when a value can end just before `position`.
  [[nodiscard]] bool valueEndsAt(std::size_t position) const {
    return position == text_.size() || text_[position] == ' ' || text_[position] == ')';
  }

  std::nullopt_t fail(std::string_view reason) {
    error_ = std::string(reason) + " at byte " + std::to_string(position_);
    return std::nullopt;
  }

  std::optional<Datum> readValue(std::uint32_t depth) {
    if (depth > kTextNestingMax) return fail("more than 512 lists inside each other");
    if (startsWith('(')) return readList(depth);
    if (startsWith('"')) return readString();
    return readAtom();
  }

  std::optional<Datum> readList(std::uint32_t depth) {
    ++position_;
    DatumList elements;
    while (!startsWith(')')) {
      if (!elements.empty()) {
        if (!startsWith(' ')) return fail("no end of a list");
        ++position_;
      }
      std::optional<Datum> element = readValue(depth + 1);
      if (!element) return std::nullopt;
      elements.push_back(std::move(*element));
    }
    ++position_;
    return list(std::move(elements));
  }

  std::optional<Datum> readString() {
    const std::size_t begin = position_ + 1;
    std::size_t end = text_.find('"', begin);
    while (end != std::string_view::npos && !valueEndsAt(end + 1)) end = text_.find('"', end + 1);
    if (end == std::string_view::npos) return fail("no end of the string");
    position_ = end + 1;
    return string(std::string(text_.substr(begin, end - begin)));
  }

  std::optional<Datum> readAtom() {
    std::size_t end = position_;
    while (!valueEndsAt(end) && text_[end] != '(' && text_[end] != '"') ++end;
    const std::string_view token = text_.substr(position_, end - position_);
    if (token.empty()) return fail("no value");
    if (!valueEndsAt(end)) return fail("no space after the value");
    position_ = end;
    if (const auto value = readNumber(token)) return number(*value);
    if (const auto value = readNonFinite(token)) return number(*value);
    if (token == "nil") return nil();
    return symbol(std::string(token));
  }

  std::string_view text_;
  std::size_t position_ = 0;
  std::string error_;
};

}  // namespace

std::optional<Datum> readWorkerText(std::string_view text, std::string* error_out) {
  WorkerTextReader reader(text);
  std::optional<Datum> datum = reader.readWhole();
  if (!datum && error_out != nullptr) *error_out = reader.error();
  return datum;
}

}  // namespace lisp_worker::client
