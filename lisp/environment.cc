// A version of the environment is a tree with sixteen ways at each node, and a name's place is a
// path in it, four bits a level. Setting the name with place 0x25 in a tree of two levels goes to
// child 2 and there to entry 5. A node that other versions share is copied first, with further
// holds on its contents, so only the nodes of that path are new: the root and one leaf.

#include "lisp/environment.h"

#include <cassert>
#include <new>
#include <utility>

#include "lisp/storage.h"
#include "lisp/work.h"

namespace lisp {
namespace {

constexpr std::uint32_t kBitsPerLevel = 4;
constexpr std::uint32_t kFanout = 1U << kBitsPerLevel;

struct Entry {
  Symbol* symbol = nullptr;  // Holds it; null when the place is empty.
  Binding binding;           // Holds both parts.
};

}  // namespace

// A node of the tree: an InnerNode or a LeafNode.
struct EnvironmentNode : Counted {
  explicit EnvironmentNode(bool leaf) : is_leaf(leaf) {}

  bool is_leaf;
  EnvironmentNode* next_dead = nullptr;
};

namespace {

struct InnerNode : EnvironmentNode {
  InnerNode() : EnvironmentNode(false) {}

  EnvironmentNode* children[kFanout] = {};  // Holds them; null where there is nothing below.
};

struct LeafNode : EnvironmentNode {
  LeafNode() : EnvironmentNode(true) {}

  Entry entries[kFanout];
};

// Nodes that nobody holds, in a chain, to be taken apart (lisp/graveyard.h).
EnvironmentNode* dead_nodes = nullptr;

InnerNode& innerOf(EnvironmentNode& node) {
  assert(!node.is_leaf);
  return static_cast<InnerNode&>(node);
}
LeafNode& leafOf(EnvironmentNode& node) {
  assert(node.is_leaf);
  return static_cast<LeafNode&>(node);
}

std::size_t sizeOf(bool leaf) { return leaf ? sizeof(LeafNode) : sizeof(InnerNode); }

EnvironmentNode* makeNode(bool leaf) {
  takeEnvironmentsApart(2);
  void* const block = storage::allocate(sizeOf(leaf));
  if (leaf) return new (block) LeafNode;
  return new (block) InnerNode;
}

// Only puts the node into the chain: a tree may hold anything, so it is taken apart bit by bit.
void releaseNode(EnvironmentNode* node) {
  if (node == nullptr || --node->references > 0) return;
  node->next_dead = dead_nodes;
  dead_nodes = node;
}

void retainEntry(const Entry& entry) {
  if (entry.symbol == nullptr) return;
  ++entry.symbol->references;
  retain(entry.binding.value);
  retainFunction(entry.binding.function);
}

void releaseEntry(const Entry& entry) {
  if (entry.symbol == nullptr) return;
  release(entry.binding.value);
  releaseFunction(entry.binding.function);
  if (--entry.symbol->references == 0) retireSymbol(entry.symbol);
}

// A node of its own for the one version that is being changed: `node` itself when nothing else
// holds it, otherwise a copy in its place.
EnvironmentNode* makeOwn(EnvironmentNode* node, bool leaf) {
  if (node == nullptr) return makeNode(leaf);
  if (node->references == 1) return node;
  EnvironmentNode* const copy = makeNode(leaf);
  countWork(kFanout);
  for (std::uint32_t i = 0; i < kFanout; ++i) {
    if (leaf) {
      retainEntry(leafOf(*copy).entries[i] = leafOf(*node).entries[i]);
    } else {
      EnvironmentNode* const child = innerOf(*node).children[i];
      if (child != nullptr) ++child->references;
      innerOf(*copy).children[i] = child;
    }
  }
  releaseNode(node);
  return copy;
}

std::uint32_t slotAt(std::uint32_t index, std::uint32_t level) {
  return (index >> (level * kBitsPerLevel)) & (kFanout - 1);
}

// True when a tree of `height` has a place for `index`.
bool reaches(std::uint32_t height, std::uint32_t index) {
  return std::uint64_t{index} >> ((height + 1) * kBitsPerLevel) == 0;
}

}  // namespace

Environment::Environment(const Environment& other) : root_(other.root_), height_(other.height_) {
  if (root_ != nullptr) ++root_->references;
}

Environment::Environment(Environment&& other) noexcept
    : root_(std::exchange(other.root_, nullptr)), height_(std::exchange(other.height_, 0)) {}

Environment& Environment::operator=(const Environment& other) { return *this = Environment(other); }

Environment& Environment::operator=(Environment&& other) noexcept {
  std::swap(root_, other.root_);
  std::swap(height_, other.height_);
  return *this;
}

Environment::~Environment() { releaseNode(root_); }

Binding Environment::find(const Symbol& symbol) const {
  const std::uint32_t index = symbol.environment_index;
  if (index == kNoEnvironmentIndex || !reaches(height_, index)) return {};
  EnvironmentNode* node = root_;
  countWork(height_ + 1);
  for (std::uint32_t level = height_; level > 0 && node != nullptr; --level) {
    node = innerOf(*node).children[slotAt(index, level)];
  }
  if (node == nullptr) return {};
  return leafOf(*node).entries[slotAt(index, 0)].binding;
}

// 1. Let the tree grow upwards until it has a place for the name: the old root becomes child 0 of a
//    new one. An empty tree only notes the height.
// 2. Go down, with a node of this version's own at each level.
// 3. Put the binding in with new holds, then release the old one: both may be the same values.
void Environment::set(Symbol& symbol, const Binding& binding) {
  assignEnvironmentIndex(symbol);
  countWork(height_ + 1);
  const std::uint32_t index = symbol.environment_index;
  while (root_ != nullptr && !reaches(height_, index)) {
    EnvironmentNode* const above = makeNode(false);
    innerOf(*above).children[0] = root_;
    root_ = above;
    ++height_;
  }
  if (root_ == nullptr) {
    while (!reaches(height_, index)) ++height_;
  }
  EnvironmentNode** link = &root_;
  for (std::uint32_t level = height_; level > 0; --level) {
    *link = makeOwn(*link, false);
    link = &innerOf(**link).children[slotAt(index, level)];
  }
  *link = makeOwn(*link, true);
  Entry& entry = leafOf(**link).entries[slotAt(index, 0)];
  const Entry fresh{&symbol, binding};
  retainEntry(fresh);
  releaseEntry(std::exchange(entry, fresh));
}

// Each unit is a node: sixteen entries or children are released, and children that nobody else
// holds join the chain.
void takeEnvironmentsApart(std::size_t nodes) {
  for (; nodes > 0 && dead_nodes != nullptr; --nodes) {
    EnvironmentNode* const node = dead_nodes;
    dead_nodes = node->next_dead;
    countWork(kFanout);
    for (std::uint32_t i = 0; i < kFanout; ++i) {
      if (node->is_leaf) {
        releaseEntry(leafOf(*node).entries[i]);
      } else {
        releaseNode(innerOf(*node).children[i]);
      }
    }
    storage::deallocate(node, sizeOf(node->is_leaf));
  }
}

}  // namespace lisp
