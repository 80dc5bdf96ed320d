// A comparison ties every pair of chunks that it must walk in the forest before it walks them. For
// ((1 2) (1 2)) and an equal list that was read apart from it, the outer chunks are tied first,
// then the inner ones; if an inner pair came again, it would be known already. When a difference is
// found, all ties of this comparison are taken back.

#include "lisp/equality.h"

#include <algorithm>
#include <cassert>
#include <new>
#include <utility>
#include <vector>

#include "lisp/keyed_hash.h"
#include "lisp/list_hash.h"
#include "lisp/storage.h"
#include "lisp/work.h"
#include "lisp/wrapping.h"

namespace lisp {

// A chunk's place in the forest. It outlives its chunk while other nodes lead through it.
struct EqualityNode : Counted {
  std::uint32_t level = 0;       // Of the edge to the peer.
  EqualityNode* peer = nullptr;  // Holds it; its priority is higher.
  std::uint64_t priority = 0;
  std::uint64_t front_hash = 0;  // The chunk's, whose place the node's address has taken.
};

namespace {

constinit std::size_t comparisons_left = kComparisonsMax;

// A pair of lists of `length` elements whose last `known` elements are known to be equal, or will
// be when the rest of the comparison succeeds.
struct Pair {
  const Chunk* a;  // Borrowed from the values that are compared.
  const Chunk* b;
  std::uint32_t length;
  std::uint32_t known;
};

// An edge as it was before it was overwritten; holds the former peer.
struct FormerEdge {
  EqualityNode* node;  // Borrowed from its chunk.
  EqualityNode* peer;
  std::uint32_t level;
};

// Drawn before main(): once it serves, a worker cannot ask the system for a secret any more.
std::uint64_t priority_state = drawHashPoint();

// SplitMix64's sequence from a secret start: unique priorities, as good as random.
LISP_WRAPS std::uint64_t nextPriority() {
  priority_state += 0x9e3779b97f4a7c15;
  std::uint64_t z = priority_state;
  z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9;
  z = (z ^ (z >> 27)) * 0x94d049bb133111eb;
  return z ^ (z >> 31);
}

// The chunk's node, or null.
EqualityNode* findNode(const Chunk& chunk) { return chunk.hasNode() ? chunk.node : nullptr; }

// One pair in so many is tied though nothing else leads to its chunks.
constexpr std::uint64_t kUnsharedPairs = 64;

// True once in kUnsharedPairs times, at random, so that nobody can build values around it.
bool isChosenToTie() { return nextPriority() % kUnsharedPairs == 0; }

// The chunk's node, made if need be: knowledge about the elements, which stay as they are.
EqualityNode& nodeOf(const Chunk& chunk) {
  if (EqualityNode* const node = findNode(chunk)) return *node;
  auto* const node = new (storage::allocate(sizeof(EqualityNode))) EqualityNode;
  node->priority = nextPriority();
  assert(chunk.hasDigest());
  node->front_hash = chunk.front;
  const_cast<Chunk&>(chunk).node = node;
  return *node;
}

void releaseNode(EqualityNode* node) {
  while (node != nullptr && --node->references == 0) {
    EqualityNode* const peer = node->peer;
    node->~EqualityNode();
    storage::deallocate(node, sizeof(EqualityNode));
    node = peer;
  }
}

// The number of last elements in which the chunks are known to be equal.
std::uint32_t knownLevel(const Chunk& chunk_a, const Chunk& chunk_b) {
  const EqualityNode* a = findNode(chunk_a);
  const EqualityNode* b = findNode(chunk_b);
  if (a == nullptr || b == nullptr) return 0;
  std::uint32_t level = std::min(chunk_a.fullLength(), chunk_b.fullLength());
  while (a != b) {
    countWork();
    if (a->priority > b->priority) std::swap(a, b);
    if (a->peer == nullptr) return 0;
    level = std::min(level, a->level);
    a = a->peer;
  }
  return level;
}

const EqualityNode* climb(const EqualityNode* node, std::uint32_t level) {
  for (; node->peer != nullptr && node->level >= level; node = node->peer) countWork();
  return node;
}

// Elements that a comparison may visit whatever others have visited before.
constexpr std::size_t kElementsOfItsOwn = 32;

// One comparison: the pairs still to be walked and the edges inserted on the way. Edges are
// inserted before their pairs have been walked, so that a pair met again is not walked again; when
// the comparison fails or is given up, every edge is taken back.
class Comparison {
 public:
  ~Comparison() {
    for (const FormerEdge& edge : former_edges_) releaseNode(edge.peer);
    comparisons_left = std::min(comparisons_left, elements_left_);
  }

  bool run(const RawValue& a, const RawValue& b) {
    if (!meet(chunkOf(a), chunkOf(b), a.length())) return true;
    while (!pairs_.empty()) {
      // Word by word: a wide copy would wait for the words that have just been written.
      const Pair& last = pairs_.back();
      const Pair pair{last.a, last.b, last.length, last.known};
      pairs_.pop_back();
      const bool may_be_equal = walk(pair);
      if (!may_be_equal || is_given_up_) {
        takeBackEdges();
        return may_be_equal;
      }
    }
    return true;
  }

 private:
  // Notes that two lists must be equal. Returns false when that is known already.
  [[nodiscard]] bool meet(const Chunk& a, const Chunk& b, std::uint32_t length) {
    std::uint32_t known = 0;
    if (!tie(a, b, length, known)) return false;
    pairs_.push_back({&a, &b, length, known});
    return true;
  }

  // Ties shared chunks always, unshared ones with chance 1 in kUnsharedPairs, so that repeated
  // comparisons of ever shorter lists soon meet a tied pair. Returns false when the chunks are
  // known to be equal up to `length`; otherwise raises `known` to how far they are.
  [[nodiscard]] bool tie(const Chunk& a, const Chunk& b, std::uint32_t length,
                         std::uint32_t& known) {
    if (&a == &b) return false;
    const bool is_shared = a.references != 1 || b.references != 1 || findNode(a) != nullptr;
    if (!is_shared && !isChosenToTie()) return true;
    known = std::max(known, knownLevel(a, b));
    if (known >= length) return false;
    insertEdge(&nodeOf(a), &nodeOf(b), length);
    return true;
  }

  // Joins two nodes by an edge of `level`. Climbs from both while the edges there have at least
  // this level, and puts the new edge where they end. If another edge was there, inserts that one
  // again, higher up: it has a lower level and still joins the same two trees.
  void insertEdge(EqualityNode* a, EqualityNode* b, std::uint32_t level) {
    while (true) {
      a = const_cast<EqualityNode*>(climb(a, level));
      b = const_cast<EqualityNode*>(climb(b, level));
      if (a == b) return;
      if (a->priority > b->priority) std::swap(a, b);
      const FormerEdge former{a, a->peer, a->level};
      former_edges_.push_back(former);
      ++b->references;
      a->peer = b;
      a->level = level;
      if (former.peer == nullptr) return;
      a = b;
      b = former.peer;
      level = former.level;
    }
  }

  void takeBackEdges() {
    for (; !former_edges_.empty(); former_edges_.pop_back()) {
      const FormerEdge& former = former_edges_.back();
      releaseNode(std::exchange(former.node->peer, former.peer));
      former.node->level = former.level;
    }
  }

  // Compares the elements of a pair from the front to those known, chunk by chunk, or gives up.
  bool walk(Pair pair) {
    std::uint32_t remaining = pair.length;
    while (true) {
      const std::uint32_t stop = std::max({pair.a->tailLength(), pair.b->tailLength(), pair.known});
      if (elements_left_ <= remaining - stop) {
        is_given_up_ = true;
        return true;
      }
      elements_left_ -= remaining - stop + 1;
      const LispValue* a = &pair.a->own(remaining);
      const LispValue* b = &pair.b->own(remaining);
      for (; remaining > stop; --remaining) {
        if (!elementsMayEqual((a++)->raw(), (b++)->raw())) return false;
      }
      if (remaining <= pair.known) return true;
      if (remaining == pair.a->tailLength()) pair.a = linkOf(*pair.a).tail;
      if (remaining == pair.b->tailLength()) pair.b = linkOf(*pair.b).tail;
      if (!tie(*pair.a, *pair.b, remaining, pair.known)) return true;
    }
  }

  // False when two elements differ; lists that are not known to be equal are left for later.
  bool elementsMayEqual(const RawValue& a, const RawValue& b) {
    countWork();
    if (a.tag() != b.tag()) return false;
    if (a.tag() == Tag::Nil) return true;
    if (a.tag() == Tag::Number) return a.number == b.number;
    if (a.tag() != Tag::List) return a.record == b.record;
    if (a.length() != b.length() || listHash(a) != listHash(b)) return false;
    if (a.length() != 0) static_cast<void>(meet(chunkOf(a), chunkOf(b), a.length()));
    return true;
  }

  std::size_t elements_left_ = comparisons_left + kElementsOfItsOwn;
  bool is_given_up_ = false;
  std::vector<Pair> pairs_;
  std::vector<FormerEdge> former_edges_;
};

// Short lists of atoms, such as points, are compared on the spot and leave no trace.
constexpr std::uint32_t kShortLength = 8;

enum class Verdict : std::uint8_t { Equal, Different, Unclear };

Verdict compareShort(const RawValue& a, const RawValue& b) {
  if (a.length() > kShortLength) return Verdict::Unclear;
  const Chunk* chunk_a = &chunkOf(a);
  const Chunk* chunk_b = &chunkOf(b);
  Verdict verdict = Verdict::Equal;
  for (std::uint32_t remaining = a.length(); remaining > 0; --remaining) {
    countWork();
    if (remaining <= chunk_a->tailLength()) chunk_a = linkOf(*chunk_a).tail;
    if (remaining <= chunk_b->tailLength()) chunk_b = linkOf(*chunk_b).tail;
    const RawValue& x = chunk_a->own(remaining).raw();
    const RawValue& y = chunk_b->own(remaining).raw();
    if (x.tag() != y.tag()) return Verdict::Different;
    if (x.tag() == Tag::Number) {
      if (x.number != y.number) return Verdict::Different;
    } else if (x.tag() == Tag::List) {
      if (x.length() != y.length()) return Verdict::Different;
      if (x.length() != 0 && x.record != y.record) verdict = Verdict::Unclear;
    } else if (x.tag() != Tag::Nil && x.record != y.record) {
      return Verdict::Different;
    }
  }
  return verdict;
}

}  // namespace

bool listsEqual(const RawValue& a, const RawValue& b) {
  assert(a.length() == b.length());
  if (a.length() == 0 || a.record == b.record) return true;
  if (listHash(a) != listHash(b)) return false;
  const Verdict verdict = compareShort(a, b);
  if (verdict != Verdict::Unclear) return verdict == Verdict::Equal;
  // The values are held here and by whoever asked, so that the pair counts as one to tie.
  const LispValue held_a = LispValue::share(a);
  const LispValue held_b = LispValue::share(b);
  return Comparison().run(a, b);
}

std::size_t comparisonsLeft() { return comparisons_left; }

void renewComparisons(std::size_t count) { comparisons_left = count; }

std::uint64_t& hashOfNode(Chunk& chunk) { return chunk.node->front_hash; }

void releaseNodeOf(const Chunk& chunk) { releaseNode(chunk.node); }

}  // namespace lisp
