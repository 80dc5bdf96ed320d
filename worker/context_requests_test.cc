#include "worker/context_requests.h"

#include <gtest/gtest.h>

#include <bit>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>

#include "geometry/context_table.h"
#include "geometry/transforms.h"
#include "testing/wire/frame_makers.h"
#include "testing/wire/wire_frames.h"

namespace lisp_worker::worker {
namespace {

using testing_support::identityContextRecord;
using testing_support::pointPayload;
using testing_support::requestHeader;
using testing_support::setSystem;

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
constexpr MessageType kPointTypes[] = {MessageType::LocateCell, MessageType::CellPlaneToSystem,
                                       MessageType::Convert};

// The context table behind its requests.
class ContextRequests : public testing::Test {
 protected:
  WorkerStatus registerRecord(std::uint64_t context_id, const std::string& record) {
    MessageHeader header = requestHeader(MessageType::RegisterContext);
    header.context_id = context_id;
    return handleRegisterContext(header, record, contexts_);
  }

  WorkerStatus registerIdentity(std::uint64_t context_id) {
    return registerRecord(context_id, identityContextRecord(context_id));
  }

  // Leaves the response in response_.
  WorkerStatus ask(MessageType type, std::uint64_t context_id, const std::string& payload) {
    MessageHeader header = requestHeader(type);
    header.context_id = context_id;
    response_.clear();
    return handlePointRequest(header, payload, contexts_, response_);
  }

  [[nodiscard]] double doubleAt(std::size_t offset) const {
    return getF64(response_.data() + offset);
  }

  void expectZeros(std::size_t first, std::size_t last) const {
    for (std::size_t i = first; i < last; ++i) EXPECT_EQ(response_[i], '\0') << "byte " << i;
  }

  geometry::ContextTable contexts_;
  std::string response_;
};

TEST_F(ContextRequests, RegisterEveryFieldFromItsPlace) {
  // Field k of the record, counted in words of 8 bytes, is the double k + 0.5 where it is a double.
  std::string record(416, '\xFF');
  putU64(record.data(), 0x1122334455667788);
  putU64(record.data() + 8, 0x99AABBCCDDEEFF00);
  putU32(record.data() + 16, 0xDEADBEEF);
  for (std::size_t k = 3; k < 52; ++k) {
    putF64(record.data() + 8 * k, static_cast<double>(k) + 0.5);
  }
  ASSERT_EQ(registerRecord(0x1122334455667788, record), WorkerStatus::Ok);

  const geometry::CoordContext* const context = contexts_.find_context(0x1122334455667788);
  ASSERT_NE(context, nullptr);
  EXPECT_EQ(context->cell_key_seed, 0x99AABBCCDDEEFF00);
  EXPECT_EQ(context->tag, 0xDEADBEEF);
  EXPECT_EQ(context->cell_size, 3.5);
  for (std::size_t s = 0; s < 5; ++s) {
    const geometry::PlanarSystem& system = context->systems[s];
    const double first = 4.5 + 8.0 * static_cast<double>(s);
    EXPECT_EQ(system.plane.origin_x, first) << s;
    EXPECT_EQ(system.plane.origin_y, first + 1) << s;
    EXPECT_EQ(system.plane.a, first + 2) << s;
    EXPECT_EQ(system.plane.b, first + 3) << s;
    EXPECT_EQ(system.plane.c, first + 4) << s;
    EXPECT_EQ(system.plane.d, first + 5) << s;
    EXPECT_EQ(system.z_scale, first + 6) << s;
    EXPECT_EQ(system.z_offset, first + 7) << s;
  }
  EXPECT_EQ(context->cell_plane.origin_x, 44.5);
  EXPECT_EQ(context->cell_plane.origin_y, 45.5);
  EXPECT_EQ(context->cell_plane.a, 46.5);
  EXPECT_EQ(context->cell_plane.b, 47.5);
  EXPECT_EQ(context->cell_plane.c, 48.5);
  EXPECT_EQ(context->cell_plane.d, 49.5);
  EXPECT_EQ(context->cell_z_scale, 50.5);
  EXPECT_EQ(context->cell_z_offset, 51.5);
}

TEST_F(ContextRequests, RegisterOnlyARecordOfTheRightSize) {
  const std::string record = identityContextRecord(0);
  for (const std::size_t size : {0U, 1U, 415U, 417U, 832U}) {
    std::string resized = record;
    resized.resize(size);
    EXPECT_EQ(registerRecord(0, resized), WorkerStatus::InvalidRequest) << size;
  }
  EXPECT_EQ(contexts_.find_context(0), nullptr);
  EXPECT_EQ(registerRecord(0, record), WorkerStatus::Ok);
}

TEST_F(ContextRequests, RegisterOnlyUnderTheIdOfTheHeader) {
  EXPECT_EQ(registerRecord(1, identityContextRecord(2)), WorkerStatus::InvalidRequest);
  EXPECT_EQ(registerRecord(0, identityContextRecord(2)), WorkerStatus::InvalidRequest);
  EXPECT_EQ(registerRecord(2 + (std::uint64_t{1} << 32), identityContextRecord(2)),
            WorkerStatus::InvalidRequest);
  EXPECT_EQ(contexts_.find_context(1), nullptr);
  EXPECT_EQ(contexts_.find_context(2), nullptr);
}

TEST_F(ContextRequests, RegisterThirtyTwoAndReplaceAnyOfThem) {
  for (std::uint64_t id = 1; id <= 32; ++id) ASSERT_EQ(registerIdentity(id), WorkerStatus::Ok);
  EXPECT_EQ(registerIdentity(33), WorkerStatus::InvalidRequest);
  std::string record = identityContextRecord(32);
  setSystem(record, 0, {5, 0, 1, 0, 0, 1, 1, 0});
  EXPECT_EQ(registerRecord(32, record), WorkerStatus::Ok);
  ASSERT_EQ(ask(MessageType::Convert, 32, pointPayload(1, 2, 3, 0, 1)), WorkerStatus::Ok);
  EXPECT_EQ(doubleAt(0), 6);
  ASSERT_EQ(ask(MessageType::Convert, 31, pointPayload(1, 2, 3, 0, 1)), WorkerStatus::Ok);
  EXPECT_EQ(doubleAt(0), 1);
}

TEST_F(ContextRequests, RegisterWhateverTheFieldsHold) {
  std::string record(416, '\xFF');  // NaN everywhere.
  putU64(record.data(), 9);
  EXPECT_EQ(registerRecord(9, record), WorkerStatus::Ok);
  for (const MessageType type : kPointTypes) {
    EXPECT_EQ(ask(type, 9, pointPayload(1, 2, 3, 0, 1)), WorkerStatus::QueryFailed);
    EXPECT_EQ(response_, "");
  }
}

TEST_F(ContextRequests, ConvertFromSourceToTarget) {
  std::string record = identityContextRecord(7);
  setSystem(record, 1, {10, 20, 1, 0, 0, 1, 1, 30});
  setSystem(record, 2, {100, 200, 1, 0, 0, 1, 1, 300});
  ASSERT_EQ(registerRecord(7, record), WorkerStatus::Ok);
  ASSERT_EQ(ask(MessageType::Convert, 7, pointPayload(1, 2, 3, 1, 2)), WorkerStatus::Ok);
  ASSERT_EQ(response_.size(), 64U);
  EXPECT_EQ(doubleAt(0), -89);
  EXPECT_EQ(doubleAt(8), -178);
  EXPECT_EQ(doubleAt(16), -267);
  expectZeros(24, 64);
}

TEST_F(ContextRequests, TakeTheCellPlaneToTheTarget) {
  std::string record = identityContextRecord(7);
  setSystem(record, 1, {1000, 1000, 1, 0, 0, 1, 1, 1000});
  setSystem(record, 2, {100, 200, 1, 0, 0, 1, 1, 300});
  putF64(record.data() + 352, 10);
  putF64(record.data() + 360, 20);
  putF64(record.data() + 408, 30);
  ASSERT_EQ(registerRecord(7, record), WorkerStatus::Ok);
  ASSERT_EQ(ask(MessageType::CellPlaneToSystem, 7, pointPayload(1, 2, 3, 1, 2)), WorkerStatus::Ok);
  ASSERT_EQ(response_.size(), 64U);
  EXPECT_EQ(doubleAt(0), -89);
  EXPECT_EQ(doubleAt(8), -178);
  EXPECT_EQ(doubleAt(16), -267);
  expectZeros(24, 64);
}

TEST_F(ContextRequests, LocateTheCellOfAPointOfTheSource) {
  std::string record = identityContextRecord(7);
  putU64(record.data() + 8, 0x0123456789abcdef);
  putU32(record.data() + 16, 0xDEADBEEF);
  putF64(record.data() + 24, 2);
  setSystem(record, 1, {10, 20, 1, 0, 0, 1, 1, 30});
  setSystem(record, 2, {100, 200, 1, 0, 0, 1, 1, 300});
  ASSERT_EQ(registerRecord(7, record), WorkerStatus::Ok);
  // In the world: (6.5, -7.5, 33).
  ASSERT_EQ(ask(MessageType::LocateCell, 7, pointPayload(-3.5, -27.5, 3, 1, 2)), WorkerStatus::Ok);
  ASSERT_EQ(response_.size(), 64U);
  EXPECT_EQ(doubleAt(0), 6.5);
  EXPECT_EQ(doubleAt(8), -7.5);
  EXPECT_EQ(doubleAt(16), 33);
  EXPECT_EQ(std::bit_cast<std::int64_t>(getU64(response_.data() + 24)), 3);
  EXPECT_EQ(std::bit_cast<std::int64_t>(getU64(response_.data() + 32)), -4);
  EXPECT_EQ(getU64(response_.data() + 40), 0x7a1860ba696244cb);
  EXPECT_EQ(getU32(response_.data() + 48), 0xDEADBEEF);
  expectZeros(52, 64);
}

TEST_F(ContextRequests, LookAtNoSystemThatTheRequestDoesNotUse) {
  std::string record = identityContextRecord(7);
  setSystem(record, 4, {kNan, kNan, kNan, kNan, kNan, kNan, kNan, kNan});
  ASSERT_EQ(registerRecord(7, record), WorkerStatus::Ok);
  EXPECT_EQ(ask(MessageType::LocateCell, 7, pointPayload(1, 2, 3, 0, 4)), WorkerStatus::Ok);
  EXPECT_EQ(ask(MessageType::LocateCell, 7, pointPayload(1, 2, 3, 4, 0)),
            WorkerStatus::QueryFailed);
  EXPECT_EQ(ask(MessageType::CellPlaneToSystem, 7, pointPayload(1, 2, 3, 4, 0)), WorkerStatus::Ok);
  EXPECT_EQ(ask(MessageType::CellPlaneToSystem, 7, pointPayload(1, 2, 3, 0, 4)),
            WorkerStatus::QueryFailed);
  EXPECT_EQ(ask(MessageType::Convert, 7, pointPayload(1, 2, 3, 4, 0)), WorkerStatus::QueryFailed);
  EXPECT_EQ(ask(MessageType::Convert, 7, pointPayload(1, 2, 3, 0, 4)), WorkerStatus::QueryFailed);
}

TEST_F(ContextRequests, TreatIdZeroLikeAnyOther) {
  for (const MessageType type : kPointTypes) {
    EXPECT_EQ(ask(type, 0, pointPayload(1, 2, 3, 0, 1)), WorkerStatus::ContextNotFound);
  }
  ASSERT_EQ(registerIdentity(0), WorkerStatus::Ok);
  for (const MessageType type : kPointTypes) {
    EXPECT_EQ(ask(type, 0, pointPayload(1, 2, 3, 0, 1)), WorkerStatus::Ok);
  }
}

TEST_F(ContextRequests, CheckSizeThenContextThenSelectorsThenQuery) {
  std::string record = identityContextRecord(7);
  setSystem(record, 4, {0, 0, 0, 0, 0, 0, 0, 0});  // Fails both ways.
  putF64(record.data() + 400, 0);                  // So does the cell plane.
  ASSERT_EQ(registerRecord(7, record), WorkerStatus::Ok);
  const std::string bad_selectors = pointPayload(kNan, 0, 0, 5, 5);
  const std::string bad_query = pointPayload(kNan, 0, 0, 4, 4);
  for (const MessageType type : kPointTypes) {
    const auto number = static_cast<int>(type);
    for (const std::size_t size : {0U, 31U, 33U, 64U}) {
      std::string resized = bad_selectors;
      resized.resize(size);
      EXPECT_EQ(ask(type, 8, resized), WorkerStatus::InvalidRequest) << number << ' ' << size;
      EXPECT_EQ(response_, "");
    }
    EXPECT_EQ(ask(type, 8, bad_selectors), WorkerStatus::ContextNotFound) << number;
    EXPECT_EQ(response_, "");
    EXPECT_EQ(ask(type, 7, bad_selectors), WorkerStatus::InvalidRequest) << number;
    EXPECT_EQ(response_, "");
    EXPECT_EQ(ask(type, 7, bad_query), WorkerStatus::QueryFailed) << number;
    EXPECT_EQ(response_, "");
  }
}

TEST_F(ContextRequests, CheckBothSelectorsOfEveryType) {
  ASSERT_EQ(registerIdentity(7), WorkerStatus::Ok);
  for (const MessageType type : kPointTypes) {
    const auto number = static_cast<int>(type);
    for (int code = 0; code <= 255; ++code) {
      const auto byte = static_cast<std::uint8_t>(code);
      const WorkerStatus expected = code < 5 ? WorkerStatus::Ok : WorkerStatus::InvalidRequest;
      EXPECT_EQ(ask(type, 7, pointPayload(1, 2, 3, byte, 0)), expected) << number << ' ' << code;
      EXPECT_EQ(ask(type, 7, pointPayload(1, 2, 3, 0, byte)), expected) << number << ' ' << code;
    }
  }
}

TEST_F(ContextRequests, FailAQueryInASingularContext) {
  std::string record = identityContextRecord(7);
  setSystem(record, 1, {0, 0, 0, 0, 0, 0, 1, 0});
  setSystem(record, 2, {0, 0, 1, 0, 0, 1, 1e-18, 0});
  setSystem(record, 3, {0, 0, 1, 0, 0, 1, 1.1e-18, 0});
  ASSERT_EQ(registerRecord(7, record), WorkerStatus::Ok);
  // A flat system converts to the world but not back.
  EXPECT_EQ(ask(MessageType::Convert, 7, pointPayload(1, 2, 3, 1, 0)), WorkerStatus::Ok);
  EXPECT_EQ(ask(MessageType::Convert, 7, pointPayload(1, 2, 3, 0, 1)), WorkerStatus::QueryFailed);
  EXPECT_EQ(ask(MessageType::Convert, 7, pointPayload(1, 2, 3, 0, 2)), WorkerStatus::QueryFailed);
  EXPECT_EQ(ask(MessageType::Convert, 7, pointPayload(1, 2, 3, 2, 0)), WorkerStatus::QueryFailed);
  EXPECT_EQ(ask(MessageType::Convert, 7, pointPayload(1, 2, 3, 0, 3)), WorkerStatus::Ok);
  EXPECT_EQ(ask(MessageType::Convert, 7, pointPayload(1, 2, 3, 3, 0)), WorkerStatus::Ok);
}

TEST_F(ContextRequests, FailOnlyTheCellLookUpForABadCellSize) {
  for (const double size : {0.0, -1.0}) {
    std::string record = identityContextRecord(7);
    putF64(record.data() + 24, size);
    ASSERT_EQ(registerRecord(7, record), WorkerStatus::Ok);
    const std::string payload = pointPayload(1, 2, 3, 0, 1);
    EXPECT_EQ(ask(MessageType::LocateCell, 7, payload), WorkerStatus::QueryFailed) << size;
    EXPECT_EQ(ask(MessageType::CellPlaneToSystem, 7, payload), WorkerStatus::Ok) << size;
    EXPECT_EQ(ask(MessageType::Convert, 7, payload), WorkerStatus::Ok) << size;
  }
}

TEST_F(ContextRequests, SendTheHighestIndexAsABitPattern) {
  ASSERT_EQ(registerIdentity(7), WorkerStatus::Ok);
  ASSERT_EQ(ask(MessageType::LocateCell, 7, pointPayload(0x1p63, -0x1p63, 0, 0, 0)),
            WorkerStatus::Ok);
  EXPECT_EQ(getU64(response_.data() + 24), 0x8000000000000000);
  EXPECT_EQ(getU64(response_.data() + 32), 0x8000000000000000);
  EXPECT_EQ(getU64(response_.data() + 40), 0xb666347197630f45);
}

}  // namespace
}  // namespace lisp_worker::worker
