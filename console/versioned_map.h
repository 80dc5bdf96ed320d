// A map from numbers to values that can be copied at no cost.
//
// It is a tree of nodes with up to 32 places each, a place for every five bits of the key. Copies
// share all nodes. A change copies the nodes on the way to its key that another map has as well,
// and no others: so keeping an earlier version costs what has changed since.
//
// A node has no room for places that are empty, so keys may lie far apart.

#ifndef CONSOLE_VERSIONED_MAP_H_
#define CONSOLE_VERSIONED_MAP_H_

#include <algorithm>
#include <array>
#include <bit>
#include <cassert>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

namespace lisp_worker::console {

template <typename T>
class VersionedMap {
 public:
  // Keys are below this.
  static constexpr std::uint64_t kKeyEnd = std::uint64_t{1} << 60;

  // A key with its value; no value behind the last key.
  struct Entry {
    std::uint64_t key = kKeyEnd;
    const T* value = nullptr;
  };

  [[nodiscard]] std::size_t size() const { return size_; }

  // Null when there is none. The pointer holds until the map changes.
  [[nodiscard]] const T* find(std::uint64_t key) const {
    const Entry entry = firstFrom(key);
    return entry.key == key ? entry.value : nullptr;
  }

  // The entry with the lowest key that is not below `key`.
  [[nodiscard]] Entry firstFrom(std::uint64_t key) const {
    if (root_ == nullptr || key >= keyEndOf(height_)) return {};
    // The lowest place above the key's own, on the way down to it.
    const Node* fork = nullptr;
    int fork_level = 0;
    const Node* node = root_.get();
    for (int level = height_;; --level) {
      const std::uint32_t bit = bitOf(key, level);
      const std::uint32_t above = node->places & ~(bit | (bit - 1));
      if (above != 0) {
        fork = node;
        fork_level = level;
      }
      if ((node->places & bit) == 0) break;
      if (level == 0) return {key, &node->values[indexOf(*node, bit)]};
      node = node->children[indexOf(*node, bit)].get();
    }
    if (fork == nullptr) return {};
    const std::uint32_t bit = bitOf(key, fork_level);
    const int digit = std::countr_zero(fork->places & ~(bit | (bit - 1)));
    const std::uint64_t begin = withDigit(key, fork_level, digit);
    if (fork_level == 0) return {begin, &fork->values[indexOf(*fork, 1U << digit)]};
    return firstOf(*fork->children[indexOf(*fork, 1U << digit)], fork_level - 1, begin);
  }

  // The entry with the highest key.
  [[nodiscard]] Entry last() const {
    if (size_ == 0) return {};
    const Node* node = root_.get();
    std::uint64_t key = 0;
    for (int level = height_;; --level) {
      key |= static_cast<std::uint64_t>(std::bit_width(node->places) - 1) << (kBits * level);
      if (level == 0) return {key, &node->values.back()};
      node = node->children.back().get();
    }
  }

  void set(std::uint64_t key, T value) {
    assert(key < kKeyEnd);
    while (key >= keyEndOf(height_)) grow();
    std::shared_ptr<Node>* at = &root_;
    for (int level = height_;; --level) {
      Node& node = own(*at);
      const std::uint32_t bit = bitOf(key, level);
      const std::size_t index = indexOf(node, bit);
      const bool is_taken = (node.places & bit) != 0;
      node.places |= bit;
      if (level == 0) {
        const auto place = node.values.begin() + static_cast<std::ptrdiff_t>(index);
        if (is_taken) {
          *place = std::move(value);
        } else {
          node.values.insert(place, std::move(value));
          ++size_;
        }
        return;
      }
      if (!is_taken) {
        node.children.insert(node.children.begin() + static_cast<std::ptrdiff_t>(index), nullptr);
      }
      at = &node.children[index];
    }
  }

  // No effect on a key that is not there.
  void erase(std::uint64_t key) {
    if (find(key) == nullptr) return;
    --size_;
    std::array<Node*, kHeightMax + 1> way{};
    std::shared_ptr<Node>* at = &root_;
    for (int level = height_; level >= 0; --level) {
      Node& node = own(*at);
      way[static_cast<std::size_t>(level)] = &node;
      if (level > 0) at = &node.children[indexOf(node, bitOf(key, level))];
    }
    for (int level = 0; level <= height_; ++level) {
      Node& node = *way[static_cast<std::size_t>(level)];
      const std::uint32_t bit = bitOf(key, level);
      const auto index = static_cast<std::ptrdiff_t>(indexOf(node, bit));
      if (level == 0) {
        node.values.erase(node.values.begin() + index);
      } else {
        node.children.erase(node.children.begin() + index);
      }
      node.places &= ~bit;
      if (node.places != 0) return;
    }
    root_.reset();
  }

  // Calls visit(key, earlier, later) for every key whose place in the two maps is not one and the
  // same, in the order of keys; a value that a map does not have is null. Costs what has changed
  // between two versions of one map.
  template <typename Visit>
  static void compare(const VersionedMap& before, const VersionedMap& after, const Visit& visit) {
    VersionedMap earlier = before;
    VersionedMap later = after;
    while (earlier.height_ < later.height_) earlier.grow();
    while (later.height_ < earlier.height_) later.grow();
    compareNodes(earlier.root_.get(), later.root_.get(), earlier.height_, 0, visit);
  }

 private:
  static constexpr int kBits = 5;
  static constexpr int kHeightMax = 60 / kBits - 1;

  struct Node {
    std::uint32_t places = 0;                     // A bit for each that is taken.
    std::vector<std::shared_ptr<Node>> children;  // Of a node above height 0, and
    std::vector<T> values;                        // of one at height 0: in the order of the bits.
  };

  static std::uint64_t keyEndOf(int height) { return std::uint64_t{1} << (kBits * (height + 1)); }

  static std::uint32_t bitOf(std::uint64_t key, int level) {
    return std::uint32_t{1} << ((key >> (kBits * level)) & 31);
  }

  static std::size_t indexOf(const Node& node, std::uint32_t bit) {
    return static_cast<std::size_t>(std::popcount(node.places & (bit - 1)));
  }

  // `key` with this digit at `level` and zeros behind it.
  static std::uint64_t withDigit(std::uint64_t key, int level, int digit) {
    const std::uint64_t kept = level == kHeightMax ? 0 : key & ~(keyEndOf(level) - 1);
    return kept | (static_cast<std::uint64_t>(digit) << (kBits * level));
  }

  static Entry firstOf(const Node& top, int level, std::uint64_t begin) {
    const Node* node = &top;
    std::uint64_t key = begin;
    for (;; --level) {
      key |= static_cast<std::uint64_t>(std::countr_zero(node->places)) << (kBits * level);
      if (level == 0) return {key, &node->values.front()};
      node = node->children.front().get();
    }
  }

  // The node as one that no other map has.
  static Node& own(std::shared_ptr<Node>& node) {
    if (node == nullptr) {
      node = std::make_shared<Node>();
    } else if (node.use_count() != 1) {
      node = std::make_shared<Node>(*node);
    }
    return *node;
  }

  void grow() {
    if (root_ != nullptr) {
      auto above = std::make_shared<Node>();
      above->places = 1;
      above->children.push_back(std::move(root_));
      root_ = std::move(above);
    }
    ++height_;
  }

  template <typename Visit>
  static void compareNodes(const Node* before, const Node* after, int level, std::uint64_t begin,
                           const Visit& visit) {
    if (before == after) return;
    const std::uint32_t earlier = before == nullptr ? 0 : before->places;
    const std::uint32_t later = after == nullptr ? 0 : after->places;
    for (std::uint32_t rest = earlier | later; rest != 0; rest &= rest - 1) {
      const std::uint32_t bit = rest & ~(rest - 1);
      const std::uint64_t key =
          begin | (static_cast<std::uint64_t>(std::countr_zero(bit)) << (kBits * level));
      const bool was = (earlier & bit) != 0;
      const bool is = (later & bit) != 0;
      if (level == 0) {
        visit(key, was ? &before->values[indexOf(*before, bit)] : nullptr,
              is ? &after->values[indexOf(*after, bit)] : nullptr);
      } else {
        compareNodes(was ? before->children[indexOf(*before, bit)].get() : nullptr,
                     is ? after->children[indexOf(*after, bit)].get() : nullptr, level - 1, key,
                     visit);
      }
    }
  }

  std::shared_ptr<Node> root_;
  int height_ = 0;
  std::size_t size_ = 0;
};

}  // namespace lisp_worker::console

#endif  // CONSOLE_VERSIONED_MAP_H_
