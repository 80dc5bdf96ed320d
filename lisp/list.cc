#include "lisp/list.h"

#include <algorithm>
#include <cassert>
#include <cstring>
#include <new>

#include "lisp/equality.h"
#include "lisp/list_hash.h"
#include "lisp/storage.h"
#include "lisp/work.h"

namespace lisp {
namespace {

// A run that CONS makes has room for twice as many elements as the run that it continues shows, up
// to this: long lists cost few allocations and short ones little room.
constexpr std::uint32_t kLinkedCapacityMax = 16;

std::uint32_t next_dead_slot = 0;  // Its first slot that still holds its element.
std::size_t run_count = 0;

constexpr Run makeEmptyRun() {
  Run run;
  run.shape = kEmptyListShape;  // Also more than its length: it holds no NaN.
  return run;
}

// The empty list's run is shared by all and never retired: its own reference stays.
Run& emptyRun() {
  static constinit Run run = makeEmptyRun();
  return run;
}

constexpr std::size_t runSize(std::size_t capacity, std::size_t hashes) {
  return sizeof(Run) + capacity * sizeof(LispValue) + hashes * sizeof(std::uint64_t);
}
constexpr std::size_t flatSize(std::size_t capacity) {
  return runSize(capacity, capacity > 2 ? capacity - 2 : 0);
}
constexpr std::size_t linkedSize(std::size_t capacity) {
  return sizeof(RunLink) + runSize(capacity, capacity - 1);
}

Run* allocateFlat(std::uint32_t capacity) {
  decompose(2 * std::size_t{capacity} + 2);
  auto* const run = new (storage::allocate(flatSize(capacity))) Run;
  run->full_length = capacity;
  ++run_count;
  return run;
}

Run* allocateLinked(std::uint32_t capacity) {
  decompose(2 * std::size_t{capacity} + 2);
  auto* const link = new (storage::allocate(linkedSize(capacity))) RunLink;
  ++run_count;
  return new (link + 1) Run;
}

void deallocateRun(Run& run) {
  --run_count;
  if (run.tail_length == 0) {
    storage::deallocate(&run, flatSize(run.capacity()));
  } else {
    storage::deallocate(&linkOf(run), linkedSize(run.capacity()));
  }
}

// The first slot in use.
std::uint32_t firstSlot(const Run& run) {
  return run.tail_length == 0 ? 0 : run.full_length - linkOf(run).front_length;
}

// Lists up to this many elements are looked through for lists among them.
constexpr std::uint32_t kLeafLengthMax = 16;

// True when `element` leads to no run but perhaps a flat one of atoms, such as a point.
bool leadsToNoList(const RawValue& element) {
  if (element.tag() != Tag::List || element.length() == 0) return true;
  const Run& run = runOf(element);
  if (run.tail_length != 0 || run.full_length > kLeafLengthMax) return false;
  // The whole run: it holds the elements before those in view, too.
  return std::none_of(run.slots(), run.slots() + run.full_length, [](const LispValue& value) {
    return value.raw().tag() == Tag::List && value.raw().length() != 0;
  });
}

std::uint32_t depthOf(const Run& run) { return run.tail_length == 0 ? 0 : linkOf(run).depth; }

// Skew-binary jump pointers (Myers, "An applicative random-access stack"): the jump of a run leads
// to where its tail's jump leads on when two equal jumps meet, and to its tail otherwise, so that a
// walk to any depth takes a number of steps logarithmic in the number of runs.
void linkTo(Run& run, Run& tail) {
  RunLink& link = linkOf(run);
  link.tail = &tail;
  link.jump = &tail;
  link.depth = depthOf(tail) + 1;
  if (tail.tail_length == 0) return;
  const Run& middle = *linkOf(tail).jump;
  if (middle.tail_length == 0) return;
  Run& far = *linkOf(middle).jump;
  if (depthOf(tail) - depthOf(middle) == depthOf(middle) - depthOf(far)) link.jump = &far;
}

}  // namespace

const Run& findRun(const Run& run, std::uint32_t remaining) {
  const Run* at = &run;
  while (remaining <= at->tail_length) {
    countWork();
    const RunLink& link = linkOf(*at);
    at = remaining <= link.jump->tail_length ? link.jump : link.tail;
  }
  return *at;
}

RawValue emptyList() {
  const RawValue raw = RawValue::ofList(emptyRun(), 0);
  retain(raw);
  return raw;
}

RawValue makeLiteral(const RawValue* elements, std::size_t count) {
  if (count == 0) return emptyList();
  countWork(count);
  Run* const run = allocateFlat(static_cast<std::uint32_t>(count));
  run->front = 0;
  run->shape = kUnseenShape;
  for (std::size_t i = 0; i < count; ++i) {
    new (run->slots() + i) LispValue(LispValue::adopt(elements[i]));
  }
  return RawValue::ofList(*run, run->full_length);
}

RawValue makeList(const RawValue* elements, std::size_t count) {
  const RawValue list = makeLiteral(elements, count);
  const bool holds_lists = std::any_of(elements, elements + count, [](const RawValue& element) {
    return element.tag() == Tag::List;
  });
  if (holds_lists) digest(runOf(list));
  return list;
}

RawValue prepend(RawValue element, RawValue list) {
  if (list.length() == 0) {
    release(list);
    return makeList(&element, 1);
  }
  countWork();
  Run* run = &runOf(list);
  ensureDigest(element);
  const std::uint64_t hash = extendHash(listHash(list), element);
  const std::uint32_t length = list.length() + 1;
  // An element that leads back to this run must not stand in it: the run would hold itself for
  // ever.
  const bool may_share = leadsToNoList(element);
  const bool has_room = may_share && run->tail_length != 0 &&
                        linkOf(*run).front_length == list.length() &&
                        list.length() < run->full_length;
  if (!has_room) {
    Run& tail = *run;
    const std::uint32_t capacity =
        may_share ? std::min(kLinkedCapacityMax, 2 * (list.length() - tail.tail_length)) : 1;
    run = allocateLinked(capacity);
    run->tail_length = list.length();
    run->full_length = list.length() + capacity;
    if (listHoldsNan(list)) run->nan_length = tail.nan_length;
    linkTo(*run, tail);
  }
  linkOf(*run).front_length = length;
  if (run->nan_length == kNoNan && holdsNan(element)) run->nan_length = length;
  const std::uint32_t slot = run->full_length - length;
  (slot == 0 ? frontHash(*run) : run->hashes()[slot - 1]) = hash;
  new (run->slots() + slot) LispValue(LispValue::adopt(element));
  return RawValue::ofList(*run, length);
}

RawValue restElsewhere(const RawValue& list) {
  const std::uint32_t length = list.length() - 1;
  if (length == 0) return emptyList();
  Run& run = runOf(list);
  RawValue rest = RawValue::ofList(length == run.tail_length ? *linkOf(run).tail : run, length);
  const RawValue& element = runOf(rest).own(length).raw();
  if (length == 1 && &runOf(rest) == &run && element.tag() == Tag::List && element.length() != 0) {
    // The hash of this list would be made from its element's whenever it is asked for, and so, if
    // that is such a list too, from all that nest in it. In a run of its own it is kept.
    retain(element);
    return makeList(&element, 1);
  }
  retain(rest);
  return rest;
}

void bury(Run& run) {
  releaseEquality(run);
  run.next_dead = dead_runs;
  dead_runs = &run;
}

void decomposeSome(std::size_t units) {
  while (units > 0) {
    if (run_in_decomposition == nullptr) {
      if (dead_runs == nullptr) return;
      run_in_decomposition = dead_runs;
      dead_runs = dead_runs->next_dead;
      next_dead_slot = firstSlot(*run_in_decomposition);
    }
    Run& run = *run_in_decomposition;
    const std::uint32_t end = static_cast<std::uint32_t>(
        std::min<std::size_t>(run.capacity(), next_dead_slot + (units - 1)));
    units -= end - next_dead_slot;
    countWork(end - next_dead_slot + 1);
    for (; next_dead_slot < end; ++next_dead_slot) {
      release(run.slots()[next_dead_slot].raw());
    }
    if (end < run.capacity()) return;
    --units;
    run_in_decomposition = nullptr;
    if (run.tail_length != 0 && --linkOf(run).tail->references == 0) bury(*linkOf(run).tail);
    deallocateRun(run);
  }
}

void decomposeAll() {
  while (dead_runs != nullptr || run_in_decomposition != nullptr) decompose(1 << 20);
}

std::size_t runCount() { return run_count; }

}  // namespace lisp
