// Makers and accessors of values. Elements of a list are found from its end: in a list of 5,
// element 1 has 4 remaining, and the chunk that holds it is the first whose tail is shorter than
// that.

#include "lisp/value.h"

#include <algorithm>
#include <cassert>
#include <variant>
#include <vector>

#include "lisp/equality.h"
#include "lisp/list.h"
#include "lisp/list_hash.h"
#include "lisp/symbol.h"

namespace lisp {

void refuseKind() { throw std::bad_variant_access(); }

void retire(RawValue raw) {
  if (raw.tag() == Tag::List) return bury(chunkOf(raw));
  if (raw.tag() == Tag::String) return retireText(&textOf(raw));
  retireSymbol(&symbolOf(raw));
}

LispList::Iterator::Iterator(const Chunk* chunk, std::uint32_t left) : chunk_(chunk), left_(left) {
  if (left_ > 0) element_ = &chunk_->own(left_);
}

// Steps from slot to slot, and into the tail where the chunk ends: O(1), without findChunk.
LispList::Iterator& LispList::Iterator::operator++() {
  assert(left_ > 0);
  --left_;
  ++element_;
  if (left_ > 0 && left_ == chunk_->tailLength()) {
    chunk_ = linkOf(*chunk_).tail;
    element_ = &chunk_->own(left_);
  }
  return *this;
}

const LispValue& LispList::operator[](std::uint32_t index) const {
  assert(index < length_);
  const std::uint32_t remaining = length_ - index;
  const Chunk& chunk = remaining > chunk_->tailLength() ? *chunk_ : findChunk(*chunk_, remaining);
  return chunk.own(remaining);
}

LispValue number(double value) { return LispValue::adopt(RawValue::ofNumber(value)); }

LispValue string(std::string_view text) {
  return LispValue::adopt(RawValue::of(Tag::String, internText(text)));
}

LispValue symbol(std::string_view name) {
  return LispValue::adopt(RawValue::of(Tag::Symbol, internSymbol(name)));
}

LispValue list(std::span<const LispValue> elements) {
  std::vector<RawValue> holds;
  holds.reserve(elements.size());
  for (const LispValue& element : elements) holds.push_back(LispValue(element).take());
  return LispValue::adopt(makeList(holds.data(), holds.size()));
}

LispValue list(std::initializer_list<LispValue> elements) {
  return list(std::span(elements.begin(), elements.size()));
}

LispValue truth() { return LispValue::share(kTruthSymbol->value); }

std::optional<std::string_view> asText(const LispValue& value) {
  checkKind(value);
  if (value.kind() == ValueKind::String) return textOf(value.raw()).bytes();
  if (value.kind() == ValueKind::Symbol) return symbolOf(value.raw()).bytes();
  return std::nullopt;
}

std::optional<LispList> asList(const LispValue& value) {
  checkKind(value);
  if (value.kind() != ValueKind::List) return std::nullopt;
  return LispList(&chunkOf(value.raw()), value.raw().length());
}

bool isNumberList(const LispValue& value) {
  const std::optional<LispList> elements = asList(value);
  return elements && std::all_of(elements->begin(), elements->end(), [](const LispValue& element) {
           return element.kind() == ValueKind::Number;
         });
}

std::optional<LispList> asSelectionSet(const LispValue& value) {
  checkKind(value);
  const RawValue& list = value.raw();
  if (list.tag() != Tag::List || list.length() == 0) return std::nullopt;
  const RawValue& mark = chunkOf(list).own(list.length()).raw();
  if (mark.tag() != Tag::Symbol || mark.record != kSelectionSetSymbol) return std::nullopt;
  return LispList(&chunkOf(list), list.length());
}

// Atoms are equal by one comparison, since names and texts are interned. Lists of one length are
// left to the forest (lisp/equality.h), which compares their hashes first.
bool valuesEqual(const LispValue& a, const LispValue& b) {
  checkKind(a);
  checkKind(b);
  const RawValue& x = a.raw();
  const RawValue& y = b.raw();
  if (x.tag() != y.tag()) return false;
  if (x.tag() == Tag::Nil) return true;
  if (x.tag() == Tag::Number) return x.number == y.number;
  if (x.tag() != Tag::List) return x.record == y.record;
  if (x.length() != y.length() || listHoldsNan(x) || listHoldsNan(y)) return false;
  return listsEqual(x, y);
}

}  // namespace lisp
