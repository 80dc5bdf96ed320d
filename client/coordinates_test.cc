#include "lisp_worker/client/coordinates.h"

#include <gtest/gtest.h>

#include <cstddef>

namespace lisp_worker::client {
namespace {

using worker::getF64;
using worker::getU64;

TEST(EncodeContext, PutsEveryFieldInItsPlace) {
  CoordContext context;
  context.id = 0x1122334455667788;
  context.cell_key_seed = 0x99AABBCCDDEEFF00;
  context.tag = 0x01020304;
  context.cell_size = 250;
  for (std::size_t s = 0; s < context.systems.size(); ++s) {
    const double first = static_cast<double>(10 * s);
    context.systems[s] = {first,     first + 1, first + 2, first + 3,
                          first + 4, first + 5, first + 6, first + 7};
  }
  context.cell_plane = {100, 101, 102, 103, 104, 105, 106, 107};

  const std::string payload = encodeContext(context);
  ASSERT_EQ(payload.size(), 416u);
  const char* const bytes = payload.data();
  EXPECT_EQ(getU64(bytes), context.id);
  EXPECT_EQ(getU64(bytes + 8), context.cell_key_seed);
  EXPECT_EQ(worker::getU32(bytes + 16), context.tag);
  EXPECT_EQ(worker::getU32(bytes + 20), 0u);
  EXPECT_EQ(getF64(bytes + 24), 250);
  for (std::size_t s = 0; s < 5; ++s) {
    for (std::size_t field = 0; field < 8; ++field) {
      EXPECT_EQ(getF64(bytes + 32 + 64 * s + 8 * field), static_cast<double>(10 * s + field));
    }
  }
  for (std::size_t field = 0; field < 8; ++field) {
    EXPECT_EQ(getF64(bytes + 352 + 8 * field), static_cast<double>(100 + field));
  }
}

TEST(EncodeContext, IsTheIdentityByDefault) {
  const std::string payload = encodeContext(CoordContext());
  const double expected[] = {0, 0, 1, 0, 0, 1, 1, 0};
  for (std::size_t field = 0; field < 8; ++field) {
    EXPECT_EQ(getF64(payload.data() + 32 + 8 * field), expected[field]);
    EXPECT_EQ(getF64(payload.data() + 352 + 8 * field), expected[field]);
  }
  EXPECT_EQ(getF64(payload.data() + 24), 1);
}

TEST(EncodePointRequest, PutsEveryFieldInItsPlace) {
  const std::string payload = encodePointRequest({1, 2, 3}, 4, 255);
  ASSERT_EQ(payload.size(), 32u);
  EXPECT_EQ(getF64(payload.data()), 1);
  EXPECT_EQ(getF64(payload.data() + 8), 2);
  EXPECT_EQ(getF64(payload.data() + 16), 3);
  EXPECT_EQ(payload.substr(24), std::string("\x04\xFF\0\0\0\0\0\0", 8));
}

TEST(DecodeCellLocation, TakesEveryFieldFromItsPlace) {
  std::string payload(64, '\0');
  worker::putF64(payload.data(), 1.5);
  worker::putF64(payload.data() + 8, -2.5);
  worker::putF64(payload.data() + 16, 3.5);
  worker::putU64(payload.data() + 24, ~std::uint64_t{0});  // -1
  worker::putU64(payload.data() + 32, 7);
  worker::putU64(payload.data() + 40, 0xFEDCBA9876543210);
  worker::putU32(payload.data() + 48, 99);
  const CellLocation expected = {{1.5, -2.5, 3.5}, -1, 7, 0xFEDCBA9876543210, 99};
  EXPECT_EQ(decodeCellLocation(payload), expected);
  EXPECT_EQ(decodePoint(payload), expected.in_cell_plane);
}

}  // namespace
}  // namespace lisp_worker::client
