// Values are written without recursion: a stack holds, for each list that is open, the element that
// comes next. (1 (2) 3) is written with one iterator on that stack for "1", two for "2", one for
// "3". Each open list will need a closing parenthesis, so its entry counts against the limit of the
// text, and a deep value cannot make the stack larger than the response may be.

#include "lisp/printer.h"

#include <algorithm>
#include <optional>
#include <string_view>
#include <vector>

#include "lisp/number_text.h"
#include "lisp/work.h"

namespace lisp {
namespace {

// Appends to a string by address: while the writer lives, the string is longer than what has been
// written.
class TextWriter {
 public:
  // At most about `size_max` bytes will be written.
  TextWriter(std::string& text, std::size_t size_max)
      : text_(text), size_(text.size()), size_max_(std::min(size_max, kLongSizeMax)) {}
  ~TextWriter() { text_.erase(size_); }
  TextWriter(const TextWriter&) = delete;
  TextWriter& operator=(const TextWriter&) = delete;

  [[nodiscard]] std::size_t size() const { return size_; }

  void push(char c) {
    *room(1) = c;
    ++size_;
  }
  void append(std::string_view bytes) { size_ += bytes.copy(room(bytes.size()), bytes.size()); }
  void append(double number) {
    char* const begin = room(kNumberRoom);
    size_ += static_cast<std::size_t>(writeNumber(number, begin) - begin);
  }

 private:
  // At most so much is prepared at a time: it is in the cache when it is written, and a call of
  // many arguments, each of which has a writer of its own, does not prepare much more than it
  // writes.
  static constexpr std::size_t kPieceSize = 0x100;
  // Beyond this much, room for the longest text is taken at once, but not for more than a megabyte:
  // memory that is not used costs nothing, but to copy a long text as it grows does.
  static constexpr std::size_t kShortSizeMax = 0x10000;
  static constexpr std::size_t kLongSizeMax = 0x100000;

  // The place for the next `size` bytes.
  char* room(std::size_t size) {
    if (text_.size() - size_ < size) [[unlikely]]
      grow(size_ + size + std::min(size_, kPieceSize));
    return text_.data() + size_;
  }

  void grow(std::size_t size) {
    if (size > kShortSizeMax) text_.reserve(size_max_ + 2 * kPieceSize);
    text_.resize(size);
  }

  std::string& text_;
  std::size_t size_;  // Bytes that have been written.
  const std::size_t size_max_;
};

void appendAtom(const LispValue& value, TextWriter& text) {
  switch (value.kind()) {
    case ValueKind::Number:
      return text.append(*asNumber(value));
    case ValueKind::String:
      text.push('"');
      text.append(*asText(value));
      return text.push('"');
    case ValueKind::Symbol:
      return text.append(*asText(value));
    default:
      return text.append("nil");
  }
}

}  // namespace

bool appendValue(const LispValue& value, std::size_t size_max, std::string& text) {
  const LispList::Iterator end;
  std::vector<LispList::Iterator> open_lists;  // For each list that is being written, what is next.
  TextWriter writer(text, size_max);
  const LispValue* current = &value;
  while (true) {
    countWork();
    const std::optional<LispList> list = asList(*current);
    if (list) {
      writer.push('(');
      open_lists.push_back(list->begin());
    } else {
      appendAtom(*current, writer);
    }
    // Every open list will cost its closing parenthesis at least, which bounds this stack too.
    if (writer.size() + open_lists.size() > size_max) return false;
    bool is_first = list.has_value();
    for (; !open_lists.empty() && open_lists.back() == end; open_lists.pop_back()) {
      writer.push(')');
      is_first = false;
    }
    if (open_lists.empty()) return true;
    if (!is_first) writer.push(' ');
    LispList::Iterator& next = open_lists.back();
    current = &*next;
    ++next;
  }
}

std::string encodeValue(const LispValue& value) {
  std::string text;
  static_cast<void>(appendValue(value, std::string().max_size(), text));
  return text;
}

}  // namespace lisp
