// A scanner cuts the text, which knows parentheses, strings and comments and nothing else. Reading
// is left to the worker's own reader.

#include "console/language/program_parts.h"

#include <algorithm>
#include <cassert>
#include <optional>
#include <utility>

namespace lisp_worker::console::language {
namespace {

// Short forms share a part.
constexpr std::size_t kPartSizeMin = 256;

// Follows the nesting of lists, byte by byte.
class Nesting {
 public:
  // True when the byte ends a list of the top level.
  bool pass(char c) {
    if (in_comment_) {
      in_comment_ = c != '\n';
      return false;
    }
    if (in_string_) {
      if (is_escaped_) {
        is_escaped_ = false;
      } else if (c == '\\') {
        is_escaped_ = true;
      } else if (c == '"') {
        in_string_ = false;
      }
      return false;
    }
    switch (c) {
      case ';':
        in_comment_ = true;
        break;
      case '"':
        in_string_ = true;
        break;
      case '(':
        ++depth_;
        break;
      case ')':
        is_surplus_ = depth_ == 0;
        if (!is_surplus_) return --depth_ == 0;
        break;
      default:
        break;
    }
    return false;
  }

  [[nodiscard]] std::size_t depth() const { return depth_; }
  [[nodiscard]] bool isOpen() const { return depth_ != 0 || in_string_; }
  // A parenthesis that has just passed closes nothing.
  bool takeSurplus() { return std::exchange(is_surplus_, false); }

  // The text that ends all that is open.
  [[nodiscard]] std::string closing() const {
    std::string text;
    if (in_comment_) text += '\n';
    if (is_escaped_) text += '\\';
    if (in_string_) text += '"';
    return text + std::string(depth_, ')');
  }

 private:
  std::size_t depth_ = 0;
  bool in_string_ = false;
  bool is_escaped_ = false;
  bool in_comment_ = false;
  bool is_surplus_ = false;
};

std::string mended(std::string text) {
  Nesting nesting;
  for (char& c : text) {
    nesting.pass(c);
    if (nesting.takeSurplus()) c = ' ';
  }
  if (!nesting.isOpen()) return text;
  return text + nesting.closing();
}

// The first line behind `begin` that begins with a parenthesis; empty when there is none.
std::optional<std::size_t> nextListLine(std::string_view text, std::size_t begin) {
  const std::size_t at = text.find("\n(", begin);
  return at == std::string_view::npos ? std::nullopt : std::optional(at + 1);
}

// Gives the ends of parts, one after the other.
class Cutter {
 public:
  explicit Cutter(std::string_view text) : text_(text) {}

  std::size_t endOf(std::size_t begin) {
    Nesting nesting;
    std::size_t opener = begin;  // Of the list of the top level that is open.
    for (std::size_t at = begin; at < text_.size(); ++at) {
      const char c = text_[at];
      const bool was_open = nesting.isOpen();
      if (was_open && c == '(' && at > begin && text_[at - 1] == '\n' && is_hasty_) return at;
      const bool ends_list = nesting.pass(c);
      if (!was_open) opener = at;
      if (ends_list && at + 1 - begin >= kPartSizeMin) return at + 1;
    }
    if (!nesting.isOpen()) return text_.size();
    // Each such cut has looked at all that is left, so only a few may do that.
    constexpr int kCutsMax = 8;
    is_hasty_ = ++cut_count_ >= kCutsMax;
    return nextListLine(text_, opener).value_or(text_.size());
  }

 private:
  std::string_view text_;
  int cut_count_ = 0;
  bool is_hasty_ = false;  // Cuts before the next line that may be a form of its own.
};

void appendAround(const std::vector<explain::Form>& forms, std::size_t offset,
                  std::vector<const explain::Form*>& around) {
  const auto is_before = [offset](const explain::Form& form) {
    // 'X ends as X does, a list with its parenthesis.
    const bool has_parentheses =
        form.isList() && (form.items.empty() || form.items.front().begin != form.begin);
    return has_parentheses ? form.end <= offset : form.end < offset;
  };
  const auto form = std::partition_point(forms.begin(), forms.end(), is_before);
  if (form == forms.end() || form->begin > offset) return;
  around.push_back(&*form);
  appendAround(form->items, offset, around);
}

}  // namespace

Part::Part(std::string text)
    : text_(std::move(text)),
      source_("", mended(text_)),
      reading_(explain::readForms(source_)),
      tokens_(tokensOf(text_)),
      names_(namesIn(reading_.forms)) {}

Span Part::spanOf(const explain::Form& form) const {
  return {std::min(form.begin, text_.size()), std::min(form.end, text_.size())};
}

void ProgramParts::update(std::string_view text) {
  std::vector<Span> spans;
  Cutter cutter(text);
  for (std::size_t begin = 0; begin < text.size();) {
    const std::size_t end = cutter.endOf(begin);
    assert(end > begin);
    spans.push_back({begin, end});
    begin = end;
  }
  const auto is_same = [text](const PlacedPart& old, const Span& span) {
    return old.part->text() == text.substr(span.begin, span.size());
  };
  const std::size_t size_min = std::min(parts_.size(), spans.size());
  std::size_t front = 0;
  while (front < size_min && is_same(parts_[front], spans[front])) ++front;
  std::size_t back = 0;
  while (back < size_min - front &&
         is_same(parts_[parts_.size() - 1 - back], spans[spans.size() - 1 - back])) {
    ++back;
  }
  std::vector<PlacedPart> parts;
  parts.reserve(spans.size());
  for (std::size_t n = 0; n < spans.size(); ++n) {
    const Span& span = spans[n];
    std::shared_ptr<const Part> part;
    if (n < front) {
      part = std::move(parts_[n].part);
    } else if (n >= spans.size() - back) {
      part = std::move(parts_[parts_.size() - (spans.size() - n)].part);
    } else {
      part = std::make_shared<const Part>(std::string(text.substr(span.begin, span.size())));
    }
    parts.push_back({span.begin, std::move(part)});
  }
  parts_ = std::move(parts);
}

std::size_t ProgramParts::indexAt(std::size_t offset) const {
  assert(!parts_.empty());
  const auto after =
      std::upper_bound(parts_.begin(), parts_.end(), offset,
                       [](std::size_t at, const PlacedPart& part) { return at < part.begin; });
  return static_cast<std::size_t>(after - parts_.begin()) - 1;
}

std::vector<const explain::Form*> formsAround(const Part& part, std::size_t offset) {
  std::vector<const explain::Form*> around;
  appendAround(part.forms(), offset, around);
  return around;
}

}  // namespace lisp_worker::console::language
