// Bindings that are made only when their names are touched.
//
// A call that declares many locals, or whose arguments have assigned many of its caller's
// variables, binds none of these names as it begins. It is noted in late_calls_ instead. Later a
// name is touched. If such a call lies inside the call that owns the name's binding, bindLate asks
// whether the inner one would have bound the name; if so, it binds the name now, in the call in
// progress. An example, where F declares twenty locals A to T and calls G:
//
//   (DEFUN G () (SETQ C 1))
//
// C is touched in G (call 2), and its binding in force is global (owner 0). F (call 1) binds late
// and 0 < 1, so F's table of locals is asked for C. It is there: C is bound to nil in G's call, and
// then assigned. F itself never binds it unless it touches it.

#include <algorithm>
#include <cassert>
#include <cstddef>

#include "lisp/bindings.h"
#include "lisp/work.h"

namespace lisp {
namespace {

// The parts of Symbol::nothing_late: a run, an owner and an entry.
constexpr int kEntryBits = 18;
constexpr int kOwnerBits = 8;
constexpr std::uint32_t kEntriesMax = (1U << kEntryBits) - 1;
[[maybe_unused]] constexpr std::uint32_t kOwnersMax = (1U << kOwnerBits) - 1;

}  // namespace

// Binds nothing more: names are bound when they are touched. Those that are bound already are nil
// when they are locals.
void Bindings::enterLate(const UserFunction& function, const Call& call) {
  static std::uint64_t run_count = 0;
  if (late_run_ == 0) late_run_ = ++run_count;
  late_frame_ = frame_;
  const LocalTable* const locals = function.bindsLocalsLate() ? &function.localTable() : nullptr;
  const auto place = static_cast<std::uint32_t>(late_calls_.size());
  const std::uint32_t outer =
      locals == nullptr ? ActiveTables::kNone : active_tables_.enter(locals, place);
  late_calls_.push_back({frame_, locals, call.snapshot, ++late_entries_, outer});
  if (locals == nullptr) {
    bindLocals(function);
    return;
  }
  for (std::size_t i = call.trail_begin; i < trail_.size(); ++i) {
    countWork();
    Symbol& symbol = *trail_[i].symbol;
    if (locals->contains(symbol)) replace(symbol.value, RawValue());
  }
}

void Bindings::leaveLate() {
  const LateCall& left = late_calls_.back();
  if (left.locals != nullptr) active_tables_.leave(left.locals, left.outer);
  late_calls_.pop_back();
  late_frame_ = late_calls_.empty() ? 0 : late_calls_.back().frame;
}

// Let O be the call that owns the binding of `symbol` in force, and P the call that O has made.
//   1. If a call inside O binds late and declares the name, binds it to nil.
//   2. Otherwise, if P binds late and its arguments have changed the name after P's copy of O's
//      variables was taken, binds it to what it was in that copy. The calls inside P copied that.
//   3. Otherwise there is nothing to bind. The name's record notes it: for this run, for O, and up
//      to the latest call that binds late. That stays true for the calls entered by then, since no
//      call can change what one outside it has bound. So for one name each call is looked at once,
//      however often the name is touched.
void Bindings::bindLate(Symbol& symbol) {
  const std::uint64_t state = lateStateOf(symbol);
  std::uint32_t entry_seen = 0;
  if (symbol.nothing_late >> kEntryBits == state >> kEntryBits) {
    entry_seen = static_cast<std::uint32_t>(symbol.nothing_late & kEntriesMax);
    if (entry_seen >= late_calls_.back().entry) return;
  }
  // The calls inside the owner, and of these the ones not looked at yet.
  countWork();
  const auto inside = std::upper_bound(
      late_calls_.begin(), late_calls_.end(), symbol.owner,
      [](std::uint32_t owner, const LateCall& late) { return owner < late.frame; });
  const auto unseen = std::upper_bound(
      inside, late_calls_.end(), entry_seen,
      [](std::uint32_t entry, const LateCall& late) { return entry < late.entry; });
  if (isDeclaredSince(symbol, static_cast<std::size_t>(unseen - late_calls_.begin()))) {
    bind(symbol, RawValue());
    return;
  }
  if (unseen == inside && inside->frame == symbol.owner + 1) {
    const RawValue* const before = changedSince(symbol, inside->snapshot);
    if (before != nullptr) {
      retain(*before);
      bind(symbol, *before);
      return;
    }
  }
  symbol.nothing_late = state;
}

// Symbol::nothing_late if there is nothing to bind now. It fits: an owner is a depth, and each
// entry takes a step.
std::uint64_t Bindings::lateStateOf(const Symbol& symbol) const {
  assert(symbol.owner <= kOwnersMax && late_entries_ <= kEntriesMax);
  return (late_run_ << kOwnerBits | symbol.owner) << kEntryBits | late_entries_;
}

// True when a call in progress that binds late, from the one at place `first` on, has `symbol`
// among its locals. Asks the name for its tables or the calls for their names, whichever are fewer.
bool Bindings::isDeclaredSince(const Symbol& symbol, std::size_t first) const {
  const LocalDeclaration* declaration = symbol.declarations;
  for (std::size_t i = first; i < late_calls_.size() && declaration != nullptr; ++i) {
    countWork();
    const std::uint32_t call = active_tables_.find(declaration->table);
    if (call != ActiveTables::kNone && call >= first) return true;
    declaration = declaration->next;
  }
  if (declaration == nullptr) return false;
  return std::any_of(late_calls_.begin() + static_cast<std::ptrdiff_t>(first), late_calls_.end(),
                     [&](const LateCall& late) {
                       countWork();
                       return late.locals != nullptr && late.locals->contains(symbol);
                     });
}

// The binding that was in force at `snapshot`, or null when it is that still. Later entries of its
// history are dropped on the way: they served calls that were arguments of the one that asks, and
// these are over.
const RawValue* Bindings::changedSince(Symbol& symbol, std::uint64_t snapshot) {
  const auto is_since = [&](std::uint32_t place) {
    return place != 0 && log_[place - 1].snapshot >= snapshot;
  };
  if (!is_since(symbol.history)) return nullptr;
  while (is_since(log_[symbol.history - 1].older)) symbol.history = log_[symbol.history - 1].older;
  return &log_[symbol.history - 1].value;
}

}  // namespace lisp
