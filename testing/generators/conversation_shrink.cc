// Makes a conversation that goes wrong smaller: fewer turns first, then shorter programs.

#include <algorithm>
#include <utility>

#include "testing/generators/conversation.h"
#include "testing/reference/literal_reader.h"

namespace lisp_worker::testing_support {
namespace {

using Fails = std::function<bool(const std::vector<Turn>&)>;

// A form's place in a text.
struct Span {
  std::size_t begin = 0;
  std::size_t size = 0;
};

// Every form that can be read at any place of the text, the longest first. Places inside strings
// and comments give nonsense, which costs an attempt and no more.
std::vector<Span> formsOf(const std::string& text) {
  std::vector<Span> spans;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const bool starts_token = i == 0 || text[i - 1] == ' ' || text[i - 1] == '(' ||
                              text[i - 1] == '\n' || text[i - 1] == '\'';
    if (text[i] != '(' && text[i] != '"' && text[i] != '\'' && !starts_token) continue;
    LiteralReader reader(std::string_view(text).substr(i));
    if (!reader.readForm(0).has_value()) continue;
    spans.push_back({i, reader.position()});
  }
  std::stable_sort(spans.begin(), spans.end(),
                   [](const Span& a, const Span& b) { return a.size > b.size; });
  return spans;
}

class Shrinker {
 public:
  Shrinker(std::vector<Turn> turns, const Fails& fails, int attempts_left)
      : turns_(std::move(turns)), fails_(fails), attempts_left_(attempts_left) {}

  std::vector<Turn> run() {
    bool smaller = true;
    while (smaller && attempts_left_ > 0) {
      smaller = dropTurns();
      for (std::size_t i = 0; i < turns_.size(); ++i) {
        while (attempts_left_ > 0 && shortenText(i)) smaller = true;
      }
    }
    return turns_;
  }

 private:
  bool accept(std::vector<Turn> candidate) {
    if (attempts_left_ <= 0) return false;
    --attempts_left_;
    if (!fails_(candidate)) return false;
    turns_ = std::move(candidate);
    return true;
  }

  bool dropTurns() {
    bool dropped = false;
    for (std::size_t i = turns_.size(); i-- > 0;) {
      std::vector<Turn> candidate;
      for (std::size_t k = 0; k < turns_.size(); ++k) {
        Turn turn = turns_[k];
        if (k == i || turn.opened_by == i) continue;
        candidate.push_back(turn);
      }
      renumber(candidate, i);
      if (accept(std::move(candidate))) {
        dropped = true;
        i = std::min(i, turns_.size());
      }
    }
    return dropped;
  }

  // Turn `dropped` and those that depended on it are gone; the others' references move down.
  void renumber(std::vector<Turn>& candidate, std::size_t dropped) const {
    for (Turn& turn : candidate) {
      if (!turn.opened_by.has_value()) continue;
      std::size_t gone = 0;
      for (std::size_t k = 0; k < *turn.opened_by; ++k) {
        if (k == dropped || turns_[k].opened_by == dropped) ++gone;
      }
      turn.opened_by = *turn.opened_by - gone;
    }
  }

  bool replaceText(std::size_t index, std::string text) {
    if (text.size() >= turns_[index].frame.payload.size()) return false;
    std::vector<Turn> candidate = turns_;
    candidate[index].frame.payload = std::move(text);
    return accept(std::move(candidate));
  }

  bool shortenText(std::size_t index) {
    if (turns_[index].frame.type != worker::MessageType::EvalStart) return false;
    const std::string text = turns_[index].frame.payload;
    const std::vector<Span> spans = formsOf(text);
    for (const Span& span : spans) {
      const std::string before = text.substr(0, span.begin);
      const std::string after = text.substr(span.begin + span.size);
      if (replaceText(index, before + after)) return true;
      if (replaceText(index, before + "nil" + after)) return true;
      // A form in place of the one that holds it.
      int inner_left = 8;
      for (const Span& inner : spans) {
        const bool inside = inner.begin > span.begin && inner.size < span.size &&
                            inner.begin + inner.size <= span.begin + span.size;
        if (!inside) continue;
        if (inner_left-- == 0) break;
        if (replaceText(index, before + text.substr(inner.begin, inner.size) + after)) return true;
      }
    }
    return dropBytes(index, text);
  }

  // Stretches of bytes, the longest first: what is left when no whole form can go.
  bool dropBytes(std::size_t index, const std::string& text) {
    for (std::size_t size = text.size() / 2; size > 0; size /= 2) {
      for (std::size_t begin = 0; begin + size <= text.size(); begin += size) {
        if (replaceText(index, text.substr(0, begin) + text.substr(begin + size))) return true;
      }
    }
    return false;
  }

  std::vector<Turn> turns_;
  const Fails& fails_;
  int attempts_left_;
};

}  // namespace

std::vector<Turn> shrinkConversation(std::vector<Turn> turns, const Fails& fails,
                                     int attempts_max) {
  return Shrinker(std::move(turns), fails, attempts_max).run();
}

}  // namespace lisp_worker::testing_support
