#include "geometry/context_table.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>

namespace geometry {
namespace {

CoordContext context_with(std::uint64_t id, std::uint32_t tag = 0) {
  CoordContext context;
  context.id = id;
  context.tag = tag;
  return context;
}

void fill(ContextTable& table) {
  for (std::uint64_t id = 1; id <= 32; ++id) ASSERT_TRUE(table.register_context(context_with(id)));
}

TEST(ContextTable, StartsWithNothingRegisteredNotEvenZero) {
  const ContextTable table;
  EXPECT_EQ(table.find_context(0), nullptr);
  EXPECT_EQ(table.find_context(1), nullptr);
}

TEST(ContextTable, FindsWhatWasRegistered) {
  ContextTable table;
  ASSERT_TRUE(table.register_context(context_with(7, 70)));
  ASSERT_TRUE(table.register_context(context_with(std::numeric_limits<std::uint64_t>::max(), 80)));
  ASSERT_NE(table.find_context(7), nullptr);
  EXPECT_EQ(table.find_context(7)->tag, 70U);
  ASSERT_NE(table.find_context(std::numeric_limits<std::uint64_t>::max()), nullptr);
  EXPECT_EQ(table.find_context(std::numeric_limits<std::uint64_t>::max())->tag, 80U);
  EXPECT_EQ(table.find_context(8), nullptr);
  EXPECT_EQ(table.find_context(0), nullptr);
}

TEST(ContextTable, TreatsZeroAsAnIdLikeAnyOther) {
  ContextTable table;
  ASSERT_TRUE(table.register_context(context_with(0, 5)));
  ASSERT_NE(table.find_context(0), nullptr);
  EXPECT_EQ(table.find_context(0)->tag, 5U);
  ASSERT_TRUE(table.register_context(context_with(0, 6)));
  EXPECT_EQ(table.find_context(0)->tag, 6U);
}

TEST(ContextTable, HoldsThirtyTwoContextsAndRefusesAnother) {
  ContextTable table;
  fill(table);
  EXPECT_FALSE(table.register_context(context_with(33)));
  EXPECT_EQ(table.find_context(33), nullptr);
  for (std::uint64_t id = 1; id <= 32; ++id) EXPECT_NE(table.find_context(id), nullptr) << id;
}

TEST(ContextTable, ReplacesInPlaceEvenWhenFull) {
  ContextTable table;
  fill(table);
  for (const std::uint64_t id : {1U, 17U, 32U}) {
    const CoordContext* const before = table.find_context(id);
    ASSERT_TRUE(table.register_context(context_with(id, 99)));
    EXPECT_EQ(table.find_context(id), before) << id;
    EXPECT_EQ(before->tag, 99U) << id;
  }
  EXPECT_EQ(table.find_context(2)->tag, 0U);
}

TEST(ContextTable, SpendsNoSlotOnAReplacement) {
  ContextTable table;
  for (int i = 0; i < 100; ++i) ASSERT_TRUE(table.register_context(context_with(1)));
  for (std::uint64_t id = 2; id <= 32; ++id) EXPECT_TRUE(table.register_context(context_with(id)));
  EXPECT_FALSE(table.register_context(context_with(33)));
}

TEST(CoordContext, IsTheSameByItsBytes) {
  CoordContext a;
  CoordContext b;
  EXPECT_TRUE(has_same_bytes(a, b));
  b.cell_plane.origin_x = -0.0;
  EXPECT_FALSE(has_same_bytes(a, b));
  b = a;
  b.systems[4].z_offset = 1;
  EXPECT_FALSE(has_same_bytes(a, b));
  a.systems[4].z_offset = b.systems[4].z_offset = std::numeric_limits<double>::quiet_NaN();
  EXPECT_TRUE(has_same_bytes(a, b));
  b.tag = 1;
  EXPECT_FALSE(has_same_bytes(a, b));
}

}  // namespace
}  // namespace geometry
