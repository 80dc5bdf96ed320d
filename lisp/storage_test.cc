#include "lisp/storage.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <vector>

#include "testing/base/random.h"

namespace lisp::storage {
namespace {

struct Block {
  void* address;
  std::size_t size;
  unsigned char fill;
};

bool isIntact(const Block& block) {
  const auto* const bytes = static_cast<const unsigned char*>(block.address);
  for (std::size_t i = 0; i < block.size; ++i) {
    if (bytes[i] != block.fill) return false;
  }
  return true;
}

TEST(Storage, GivesAlignedBlocksThatDoNotOverlap) {
  std::vector<Block> blocks;
  unsigned char fill = 0;
  for (const std::size_t size : {1, 8, 9, 16, 24, 504, 505, 511, 512, 513, 4096, 100000}) {
    for (int i = 0; i < 20; ++i) {
      void* const address = allocate(size);
      EXPECT_EQ(reinterpret_cast<std::uintptr_t>(address) % kGranule, 0u);
      std::memset(address, ++fill, size);
      blocks.push_back({address, size, fill});
    }
  }
  for (const Block& block : blocks) EXPECT_TRUE(isIntact(block)) << block.size;
  for (const Block& block : blocks) deallocate(block.address, block.size);
}

TEST(Storage, KeepsBlocksIntactWhileOthersComeAndGo) {
  lisp_worker::testing_support::Random random(1);
  std::vector<Block> blocks;
  for (int round = 0; round < 20000; ++round) {
    if (!blocks.empty() && random.chance(2, 5)) {
      const std::size_t i = random.below(blocks.size());
      ASSERT_TRUE(isIntact(blocks[i])) << blocks[i].size;
      deallocate(blocks[i].address, blocks[i].size);
      blocks[i] = blocks.back();
      blocks.pop_back();
    } else {
      const std::size_t size = 1 + random.below(kSmallBlockMax + 40);
      const auto fill = static_cast<unsigned char>(random.below(256));
      void* const address = allocate(size);
      std::memset(address, fill, size);
      blocks.push_back({address, size, fill});
    }
  }
  for (const Block& block : blocks) {
    ASSERT_TRUE(isIntact(block)) << block.size;
    deallocate(block.address, block.size);
  }
}

#ifndef LISP_PLAIN_ALLOCATION

// Memory that one size has used and given back serves every other size.
TEST(Storage, ReusesItsMemoryForEverySize) {
  constexpr std::size_t kBytes = 1 << 20;
  const std::size_t slabs_before = slabsInUse();
  std::size_t slabs_at_hand = 0;
  for (std::size_t size = 8; size <= kSmallBlockMax; size += 8) {
    std::vector<void*> blocks;
    for (std::size_t used = 0; used < kBytes; used += size) blocks.push_back(allocate(size));
    // The memory is that of the size before.
    if (size > 8) {
      EXPECT_LE(slabsAtHand() + kBytes / kSlabSize / 2, slabs_at_hand) << size;
    }
    // Neither in the order of their birth nor in the opposite one.
    for (std::size_t i = 0; i < blocks.size(); i += 2) deallocate(blocks[i], size);
    for (std::size_t i = 1; i < blocks.size(); i += 2) deallocate(blocks[i], size);
    // One slab stays with each size.
    ASSERT_LE(slabsInUse(), slabs_before + size / 8) << size;
    slabs_at_hand = slabsAtHand();
  }
}

// A slab that has been full serves again as soon as one of its blocks is back: no other is needed.
TEST(Storage, ReusesSingleBlocksOfFullSlabs) {
  constexpr std::size_t kSize = 400;
  std::vector<void*> blocks;
  for (int i = 0; i < 5000; ++i) blocks.push_back(allocate(kSize));
  const std::size_t slabs_before = slabsInUse();
  for (int round = 0; round < 50; ++round) {
    for (std::size_t i = round % 7; i < blocks.size(); i += 7) deallocate(blocks[i], kSize);
    for (std::size_t i = round % 7; i < blocks.size(); i += 7) blocks[i] = allocate(kSize);
    ASSERT_EQ(slabsInUse(), slabs_before) << round;
  }
  for (void* const block : blocks) deallocate(block, kSize);
}

// Memory that went back to the system is as good as new, and only so much goes back at once.
TEST(Storage, GivesBackWhatItDoesNotKeep) {
  constexpr std::size_t kSize = 256;
  constexpr std::size_t kCount = 3 * kSlabsKept * kSlabSize / kSize;
  for (int round = 0; round < 3; ++round) {
    std::vector<Block> blocks;
    for (std::size_t i = 0; i < kCount; ++i) {
      const auto fill = static_cast<unsigned char>(i + round);
      blocks.push_back({allocate(kSize), kSize, fill});
      std::memset(blocks.back().address, fill, kSize);
    }
    for (const Block& block : blocks) {
      ASSERT_TRUE(isIntact(block));
      deallocate(block.address, kSize);
    }
    const std::size_t at_hand = slabsAtHand();
    EXPECT_GE(at_hand, 2 * kSlabsKept);
    giveBack(10);
    EXPECT_EQ(slabsAtHand(), at_hand - 10);
    while (slabsAtHand() > kSlabsKept) giveBack(100);
    giveBack(100);
    EXPECT_EQ(slabsAtHand(), kSlabsKept);
  }
}

#endif

}  // namespace
}  // namespace lisp::storage
