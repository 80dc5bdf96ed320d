// Runs: making, prepending, finding, taking apart. (CONS 1 L) claims the free slot in front of the
// first element of L if there is one. Otherwise it makes a new linked run, whose tail is the run
// of L.

#include "lisp/list.h"

#include <algorithm>
#include <new>

#include "lisp/equality.h"
#include "lisp/list_hash.h"
#include "lisp/storage.h"
#include "lisp/work.h"

namespace lisp {
namespace {

// A run that CONS makes has room for twice as many elements as the run that it continues, up to the
// first of these: long lists cost few allocations and short ones little room. That holds for the
// first run that continues another. Further ones, and those that begin in the middle of another run
// or continue a flat one, begin small: a program could make thousands of them and use none.
constexpr std::uint32_t kLinkedCapacityMax = 16;
constexpr std::uint32_t kFirstCapacityMax = 4;
constexpr std::uint32_t kBranchCapacity = 2;

// Elements of a dead run that are released before what was in them is taken apart.
constexpr std::size_t kElementsAtOnce = 4;

std::size_t run_count = 0;

// The run that is next taken apart, or further taken apart.
constinit Run* dead_runs = nullptr;

constinit std::size_t haste_left = kHasteMax;

constexpr Run makeEmptyRun() {
  Run run;
  run.setShape(kEmptyListShape);
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

// Takes apart what an allocation of so many elements is to take.
void decomposeFor(std::uint32_t capacity) {
  if (dead_runs == nullptr) return;
  const std::size_t units = std::size_t{capacity} + 1;
  const std::size_t more = std::min(14 * units, haste_left);
  haste_left -= more;
  decomposeRuns(2 * units + more);
}

Run* allocateFlat(std::uint32_t capacity) {
  decomposeFor(capacity);
  auto* const run = new (storage::allocate(flatSize(capacity))) Run;
  run->full_length = capacity;
  ++run_count;
  return run;
}

Run* allocateLinked(std::uint32_t capacity) {
  decomposeFor(capacity);
  auto* const link = new (storage::allocate(linkedSize(capacity))) RunLink;
  ++run_count;
  return new (link + 1) Run;
}

void deallocateRun(Run& run) {
  --run_count;
  if (!run.isLinked()) {
    storage::deallocate(&run, flatSize(run.capacity()));
  } else {
    storage::deallocate(&linkOf(run), linkedSize(run.capacity()));
  }
}

// The first slot in use.
std::uint32_t firstSlot(const Run& run) {
  assert(run.fullLength() >= (run.isLinked() ? linkOf(run).front_length : 0));
  return run.isLinked() ? run.fullLength() - linkOf(run).front_length : 0;
}

// Lists up to this many elements are looked through for lists among them.
constexpr std::uint32_t kLeafLengthMax = 16;

// True when the run is a flat one of atoms, such as a point.
bool isLeaf(const Run& run) {
  if (run.full_length > kLeafLengthMax) return false;  // So is a linked one.
  // The whole run: it holds the elements before those in view, too.
  return std::none_of(run.slots(), run.slots() + run.full_length, [](const LispValue& value) {
    return value.raw().tag() == Tag::List && value.raw().length() != 0;
  });
}

// True when `element` leads to no run but perhaps a leaf.
bool leadsToNoList(const RawValue& element) {
  return element.tag() != Tag::List || element.length() == 0 || isLeaf(runOf(element));
}

std::uint32_t depthOf(const Run& run) { return run.isLinked() ? linkOf(run).depth : 0; }

// Skew-binary jump pointers (Myers, "An applicative random-access stack"): the jump of a run leads
// to where its tail's jump leads on when two equal jumps meet, and to its tail otherwise, so that a
// walk to any depth takes a number of steps logarithmic in the number of runs.
void linkTo(Run& run, Run& tail) {
  RunLink& link = linkOf(run);
  link.tail = &tail;
  link.jump = &tail;
  link.depth = depthOf(tail) + 1;
  if (!tail.isLinked()) return;
  const Run& middle = *linkOf(tail).jump;
  if (!middle.isLinked()) return;
  Run& far = *linkOf(middle).jump;
  if (depthOf(tail) - depthOf(middle) == depthOf(middle) - depthOf(far)) link.jump = &far;
}

// Puts `element` in front of what the run shows, into the slot there; `hash` is that of the list
// that begins there.
inline RawValue claimSlot(Run& run, std::uint32_t slot, RawValue element, std::uint64_t hash) {
  const std::uint32_t length = run.fullLength() - slot;
  assert(length > run.tailLength());
  linkOf(run).front_length = length;
  (slot == 0 ? frontHash(run) : run.hashes()[slot - 1]) = hash;
  new (run.slots() + slot) LispValue(LispValue::adopt(element));
  return RawValue::ofList(run, length);
}

// The room of a run that continues in `tail` with a list of `length` elements.
std::uint32_t capacityOnto(Run& tail, std::uint32_t length) {
  if (!tail.isLinked()) return std::min(kFirstCapacityMax, 2 * length);
  RunLink& link = linkOf(tail);
  if (length != tail.fullLength() || link.is_continued) return kBranchCapacity;
  link.is_continued = true;
  return std::min(kLinkedCapacityMax, 2 * (length - link.tail_length));
}

// `element` in front of `list`, which is not empty, in a run of its own. An element that may lead
// back to the run of the list must not stand in that run, which would hold itself for ever; after
// such a one there are no free slots.
RawValue prependRun(RawValue element, RawValue list, bool may_share) {
  ensureDigest(element);
  const std::uint64_t hash = extendHash(listHash(list), element);
  Run& tail = runOf(list);
  const std::uint32_t capacity = may_share ? capacityOnto(tail, list.length()) : 1;
  Run& run = *allocateLinked(capacity);
  run.full_length = (list.length() + capacity) | Run::kLinked;
  linkOf(run).tail_length = list.length();
  linkOf(run).is_continued = false;
  linkTo(run, tail);
  return claimSlot(run, capacity - 1, element, hash);
}

}  // namespace

const Run& findRun(const Run& run, std::uint32_t remaining) {
  assert(remaining >= 1 && remaining <= run.fullLength());
  const Run* at = &run;
  while (remaining <= at->tailLength()) {
    countWork();
    const RunLink& link = linkOf(*at);
    at = remaining <= link.jump->tailLength() ? link.jump : link.tail;
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
  assert(count < Run::kLinked);
  countWork(count);
  Run* const run = allocateFlat(static_cast<std::uint32_t>(count));
  run->setShape(kUnseenShape);
  auto* const slots = reinterpret_cast<RawValue*>(run->slots());
  for (std::size_t i = 0; i < count; ++i) copyWords(slots[i], elements[i]);
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
  Run& run = runOf(list);
  const std::uint32_t slot = run.fullLength() - list.length();  // That of the list's first element.
  const bool may_share = leadsToNoList(element);
  if (!may_share || slot == 0 || !run.isLinked() || linkOf(run).front_length != list.length()) {
    return prependRun(element, list, may_share);
  }
  ensureDigest(element);
  return claimSlot(run, slot - 1, element, extendHash(run.hashes()[slot - 1], element));
}

RawValue restElsewhere(const RawValue& list) {
  const std::uint32_t length = list.length() - 1;
  if (length == 0) return emptyList();
  Run& run = runOf(list);
  RawValue rest = RawValue::ofList(length == run.tailLength() ? *linkOf(run).tail : run, length);
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
  assert(run.references == 0);
  releaseEquality(run);
  run.references = firstSlot(run);
  run.next_dead = dead_runs;
  dead_runs = &run;
}

// A few elements of a run at once, so that the memory of the lists among them is fetched together,
// and then those of them that nobody holds, while they are in the cache.
void decomposeRuns(std::size_t units) {
  if (dead_runs == nullptr) return;  // Before registers are saved.
  while (units > 0 && dead_runs != nullptr) {
    Run& run = *dead_runs;
    const LispValue* const slot = run.slots() + run.references;
    const std::size_t left = run.capacity() - run.references;
    const std::size_t count = std::min({left, kElementsAtOnce, units});
    countWork(count + 1);
    units -= count;
    const bool is_done = count == left && units > 0;
    if (is_done) {
      dead_runs = run.next_dead;
      --units;
    } else {
      run.references += static_cast<std::uint32_t>(count);
    }
    for (std::size_t i = count; i-- > 0;) release(slot[i].raw());
    if (!is_done) continue;
    if (run.isLinked() && --linkOf(run).tail->references == 0) bury(*linkOf(run).tail);
    deallocateRun(run);
  }
}

bool hasDeadRuns() { return dead_runs != nullptr; }

std::size_t hasteLeft() { return haste_left; }

void renewHaste(std::size_t count) { haste_left = count; }

std::size_t runCount() { return run_count; }

}  // namespace lisp
