#include "lisp_worker/worker/frame.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <limits>
#include <ostream>
#include <string_view>
#include <vector>

namespace lisp_worker::worker {
namespace {

using HeaderBytes = std::array<char, kHeaderSize>;

// A header in which every field differs from every other, and its bytes, written out by hand.
MessageHeader distinctHeader() {
  MessageHeader header;
  header.magic = 0x04030201;
  header.version = 0x0605;
  header.type = 0x0807;
  header.payload_length = 0x0C0B0A09;
  header.status = 0x100F0E0D;
  header.request_id = 0x1817161514131211;
  header.context_id = 0x201F1E1D1C1B1A19;
  header.run_id = 0x2827262524232221;
  return header;
}

HeaderBytes distinctHeaderBytes() {
  HeaderBytes bytes{};
  for (std::size_t i = 0; i < HeaderOffset::kReserved; ++i) bytes[i] = static_cast<char>(i + 1);
  return bytes;
}

MessageHeader goodRequest() {
  MessageHeader header;
  header.magic = kMagic;
  header.version = kProtocolVersion;
  header.type = static_cast<std::uint16_t>(MessageType::Ping);
  return header;
}

void expectSameFields(const MessageHeader& actual, const MessageHeader& expected) {
  EXPECT_EQ(actual.magic, expected.magic);
  EXPECT_EQ(actual.version, expected.version);
  EXPECT_EQ(actual.type, expected.type);
  EXPECT_EQ(actual.payload_length, expected.payload_length);
  EXPECT_EQ(actual.status, expected.status);
  EXPECT_EQ(actual.request_id, expected.request_id);
  EXPECT_EQ(actual.context_id, expected.context_id);
  EXPECT_EQ(actual.run_id, expected.run_id);
}

TEST(LittleEndian, PutsTheLowestByteFirst) {
  std::array<char, 8> bytes{};
  putU16(bytes.data(), 0x0201);
  EXPECT_EQ(std::string_view(bytes.data(), 2), "\x01\x02");
  putU32(bytes.data(), 0x04030201);
  EXPECT_EQ(std::string_view(bytes.data(), 4), "\x01\x02\x03\x04");
  putU64(bytes.data(), 0x0807060504030201);
  EXPECT_EQ(std::string_view(bytes.data(), 8), "\x01\x02\x03\x04\x05\x06\x07\x08");
  putF64(bytes.data(), 1.0);
  EXPECT_EQ(std::string_view(bytes.data(), 8), std::string_view("\0\0\0\0\0\0\xF0\x3F", 8));
}

TEST(LittleEndian, GetsWhatWasPutAtAnyAlignment) {
  std::array<char, 16> bytes{};
  for (std::size_t offset = 0; offset < 8; ++offset) {
    char* const field = bytes.data() + offset;
    putU8(field, 0xFE);
    EXPECT_EQ(getU8(field), 0xFE);
    putU16(field, 0xFEDC);
    EXPECT_EQ(getU16(field), 0xFEDC);
    putU32(field, 0xFEDCBA98);
    EXPECT_EQ(getU32(field), 0xFEDCBA98);
    putU64(field, 0xFEDCBA9876543210);
    EXPECT_EQ(getU64(field), 0xFEDCBA9876543210);
  }
}

TEST(LittleEndian, LeavesTheBytesBesideAFieldAlone) {
  std::array<char, 10> bytes;
  bytes.fill('#');
  putU64(bytes.data() + 1, 0);
  EXPECT_EQ(bytes.front(), '#');
  EXPECT_EQ(bytes.back(), '#');
}

TEST(LittleEndian, KeepsTheBitsOfADouble) {
  const std::vector<std::uint64_t> patterns = {
      0x0000000000000000,  // 0
      0x8000000000000000,  // -0
      0x0000000000000001,  // The smallest denormal.
      0x7FEFFFFFFFFFFFFF,  // The largest finite.
      0x7FF0000000000000,  // Infinity.
      0xFFF8000000000000,  // A negative quiet NaN.
      0x7FF8000000001234,  // A NaN with a payload.
  };
  for (const std::uint64_t pattern : patterns) {
    std::array<char, 8> bytes{};
    putF64(bytes.data(), std::bit_cast<double>(pattern));
    EXPECT_EQ(getU64(bytes.data()), pattern);
    EXPECT_EQ(std::bit_cast<std::uint64_t>(getF64(bytes.data())), pattern);
  }
}

TEST(Magic, IsTheFourLetters) {
  std::array<char, 4> bytes{};
  putU32(bytes.data(), kMagic);
  EXPECT_EQ(std::string_view(bytes.data(), bytes.size()), "KLSP");
}

TEST(MessageTypes, HaveTheirWireNumbers) {
  const auto number = [](MessageType type) { return static_cast<int>(type); };
  EXPECT_EQ(number(MessageType::Ping), 1);
  EXPECT_EQ(number(MessageType::RegisterContext), 2);
  EXPECT_EQ(number(MessageType::LocateCell), 3);
  EXPECT_EQ(number(MessageType::CellPlaneToSystem), 4);
  EXPECT_EQ(number(MessageType::Convert), 5);
  EXPECT_EQ(number(MessageType::GeometryRequest), 6);
  EXPECT_EQ(number(MessageType::EvalStart), 7);
  EXPECT_EQ(number(MessageType::EvalResume), 8);
  EXPECT_EQ(number(MessageType::EvalCancel), 9);
  EXPECT_EQ(number(MessageType::Shutdown), 255);
}

TEST(WorkerStatuses, HaveTheirWireNumbers) {
  const auto number = [](WorkerStatus status) { return static_cast<int>(status); };
  EXPECT_EQ(number(WorkerStatus::Ok), 0);
  EXPECT_EQ(number(WorkerStatus::BadMagic), 1);
  EXPECT_EQ(number(WorkerStatus::BadVersion), 2);
  EXPECT_EQ(number(WorkerStatus::InvalidRequest), 3);
  EXPECT_EQ(number(WorkerStatus::ContextNotFound), 4);
  EXPECT_EQ(number(WorkerStatus::QueryFailed), 5);
  EXPECT_EQ(number(WorkerStatus::UnknownType), 6);
  EXPECT_EQ(number(WorkerStatus::Degenerate), 7);
  EXPECT_EQ(number(WorkerStatus::EvalParseError), 8);
  EXPECT_EQ(number(WorkerStatus::EvalFailed), 9);
  EXPECT_EQ(number(WorkerStatus::EvalStepLimit), 10);
  EXPECT_EQ(number(WorkerStatus::HostCallPending), 11);
}

TEST(DecodeHeader, FindsEveryFieldInItsPlace) {
  expectSameFields(decodeHeader(distinctHeaderBytes()), distinctHeader());
}

TEST(EncodeHeader, PutsEveryFieldInItsPlaceAndZeroesTheRest) {
  HeaderBytes bytes;
  bytes.fill('#');
  encodeHeader(distinctHeader(), bytes);
  EXPECT_EQ(bytes, distinctHeaderBytes());
}

TEST(DecodeHeader, IgnoresTheReservedTail) {
  HeaderBytes bytes = distinctHeaderBytes();
  std::fill(bytes.begin() + HeaderOffset::kReserved, bytes.end(), '\xFF');
  expectSameFields(decodeHeader(bytes), distinctHeader());
}

TEST(ValidateHeader, AcceptsAGoodHeaderWhateverTheUncheckedFieldsHold) {
  EXPECT_EQ(validateHeader(goodRequest()), WorkerStatus::Ok);
  MessageHeader header = distinctHeader();
  header.magic = kMagic;
  header.version = kProtocolVersion;
  header.payload_length = 0;
  EXPECT_EQ(validateHeader(header), WorkerStatus::Ok);
}

TEST(ValidateHeader, AcceptsTheLargestPayloadAndRefusesOneByteMore) {
  MessageHeader header = goodRequest();
  header.payload_length = 0xFFFFF;
  EXPECT_EQ(validateHeader(header), WorkerStatus::Ok);
  header.payload_length = 0x100000;
  EXPECT_EQ(validateHeader(header), WorkerStatus::Ok);
  header.payload_length = 0x100001;
  EXPECT_EQ(validateHeader(header), WorkerStatus::InvalidRequest);
  header.payload_length = std::numeric_limits<std::uint32_t>::max();
  EXPECT_EQ(validateHeader(header), WorkerStatus::InvalidRequest);
}

TEST(ValidateHeader, RefusesEveryVersionButThree) {
  for (const int version : {0, 1, 2, 4, 0x0300, 0x0303, 0xFFFF}) {
    MessageHeader header = goodRequest();
    header.version = static_cast<std::uint16_t>(version);
    EXPECT_EQ(validateHeader(header), WorkerStatus::BadVersion) << version;
  }
}

TEST(ValidateHeader, RefusesAMagicWithAnyBitFlipped) {
  for (int bit = 0; bit < 32; ++bit) {
    MessageHeader header = goodRequest();
    header.magic ^= 1U << bit;
    EXPECT_EQ(validateHeader(header), WorkerStatus::BadMagic) << bit;
  }
}

// Which faults a header has, and which of them decides.
struct FaultRow {
  bool bad_magic;
  bool bad_version;
  bool bad_length;
  WorkerStatus expected;

  friend void PrintTo(const FaultRow& row, std::ostream* out) {
    *out << (row.bad_magic ? "magic " : "") << (row.bad_version ? "version " : "")
         << (row.bad_length ? "length " : "") << "-> " << static_cast<int>(row.expected);
  }
};

class ValidateHeaderOrder : public testing::TestWithParam<FaultRow> {};

TEST_P(ValidateHeaderOrder, LetsTheFirstFaultDecide) {
  MessageHeader header = goodRequest();
  if (GetParam().bad_magic) header.magic = 0;
  if (GetParam().bad_version) header.version = 2;
  if (GetParam().bad_length) header.payload_length = kPayloadSizeMax + 1;
  EXPECT_EQ(validateHeader(header), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(AllCombinations, ValidateHeaderOrder,
                         testing::Values(FaultRow{false, false, false, WorkerStatus::Ok},
                                         FaultRow{false, false, true, WorkerStatus::InvalidRequest},
                                         FaultRow{false, true, false, WorkerStatus::BadVersion},
                                         FaultRow{false, true, true, WorkerStatus::BadVersion},
                                         FaultRow{true, false, false, WorkerStatus::BadMagic},
                                         FaultRow{true, false, true, WorkerStatus::BadMagic},
                                         FaultRow{true, true, false, WorkerStatus::BadMagic},
                                         FaultRow{true, true, true, WorkerStatus::BadMagic}));

TEST(MakeResponseHeader, EchoesTypeAndIdsAndZeroesTheRest) {
  MessageHeader expected;
  expected.magic = kMagic;
  expected.version = 3;
  expected.type = 0x0807;
  expected.request_id = 0x1817161514131211;
  expected.context_id = 0x201F1E1D1C1B1A19;
  expectSameFields(makeResponseHeader(distinctHeader()), expected);
}

}  // namespace
}  // namespace lisp_worker::worker
