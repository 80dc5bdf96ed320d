// Random numbers there and back: doubles through the encoder and the reader, texts through the
// reader and the encoder, and both through the executable.
//
// LISP_NUMBER_COUNT says how many of each are taken. The results are recorded like responses,
// so the builds for different systems are compared in it; the digests of the default numbers stand
// here as well.

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <string>
#include <string_view>

#include "lisp/number.h"
#include "lisp/printer.h"
#include "lisp/value.h"
#include "lisp_worker/client/process.h"
#include "lisp_worker/worker/frame.h"
#include "testing/base/random.h"
#include "testing/base/response_record.h"
#include "testing/base/same_bytes.h"
#include "testing/base/test_environment.h"
#include "testing/wire/frame_makers.h"
#include "testing/workers/executable_worker.h"
#include "worker/encoding.h"

namespace lisp_worker::testing_support {
namespace {

constexpr std::uint64_t kDefaultCount = 200'000;
constexpr std::uint64_t kTextsDigest = 13219596211642844703U;
constexpr std::uint64_t kBitsDigest = 9267389986576397838U;

std::uint64_t count() { return setting("LISP_NUMBER_COUNT", kDefaultCount); }

// FNV-1a over everything that was given, and its length in the end.
class Digest {
 public:
  void add(std::string_view bytes) {
    for (const char byte : bytes) {
      hash_ = (hash_ ^ static_cast<unsigned char>(byte)) * 0x100000001B3;
    }
  }
  [[nodiscard]] std::uint64_t value() const { return hash_; }

 private:
  std::uint64_t hash_ = 0xCBF29CE484222325;
};

// Half of them any bits that are a finite number, the others of the size that drawings are made of.
double someDouble(Random& random) {
  if (random.chance(1, 2)) {
    const double value = static_cast<double>(random.between(-1'000'000'000, 1'000'000'000));
    static constexpr double kParts[] = {1, 2, 3, 10, 64, 1000, 25.4, 1e6, 7e9};
    return value / random.pick(kParts);
  }
  double value = 0;
  do {
    value = std::bit_cast<double>(random.bits());
  } while (!std::isfinite(value));
  return value;
}

// A decimal number of up to 25 digits, often with a point and an exponent.
std::string someText(Random& random) {
  std::string text = random.chance(1, 4) ? "-" : "";
  const int digit_count = random.chance(1, 2) ? 17 : random.between(1, 25);
  const int point = random.chance(2, 3) ? random.between(0, digit_count) : -1;
  for (int i = 0; i < digit_count; ++i) {
    if (i == point) text += '.';
    text += static_cast<char>('0' + random.below(10));
  }
  if (random.chance(1, 2)) text += "e" + std::to_string(random.between(-345, 310));
  return text;
}

void recordDigest(const Digest& digest) { recordResponse(std::to_string(digest.value())); }

TEST(NumberSurvey, EveryDoubleComesBackFromItsText) {
  Random random(1);
  Digest digest;
  for (std::uint64_t i = 0; i < count(); ++i) {
    const double value = someDouble(random);
    const std::string text = lisp::encodeValue(lisp::number(value));
    char expected[40];
    std::snprintf(expected, sizeof expected, "%.17g", value);
    ASSERT_EQ(text, expected);
    const std::optional<double> back = lisp::parseNumber(text);
    ASSERT_TRUE(back.has_value()) << text;
    ASSERT_EQ(std::bit_cast<std::uint64_t>(*back), std::bit_cast<std::uint64_t>(value)) << text;
    digest.add(text);
  }
  recordDigest(digest);
  if (count() == kDefaultCount) {
    EXPECT_EQ(digest.value(), kTextsDigest);
  }
}

TEST(NumberSurvey, EveryTextIsTheNearestDouble) {
  Random random(2);
  Digest digest;
  for (std::uint64_t i = 0; i < count(); ++i) {
    const std::string text = someText(random);
    const double expected = std::strtod(text.c_str(), nullptr);
    const std::optional<double> value = lisp::parseNumber(text);
    ASSERT_EQ(value.has_value(), std::isfinite(expected)) << text;
    if (!value.has_value()) continue;
    ASSERT_EQ(std::bit_cast<std::uint64_t>(*value), std::bit_cast<std::uint64_t>(expected)) << text;
    char bytes[8];
    worker::putF64(bytes, *value);
    digest.add({bytes, sizeof bytes});
  }
  recordDigest(digest);
  if (count() == kDefaultCount) {
    EXPECT_EQ(digest.value(), kBitsDigest);
  }
}

// Programs that quote as many random doubles as fit; the answer must be the program's own text.
TEST(NumberSurvey, TheExecutableGivesEveryNumberBack) {
  constexpr std::size_t kNumberSizeMax = 25;  // Bytes, with a space.
  Random random(3);
  ExecutableWorker worker;
  for (std::uint64_t done = 0; done < count();) {
    std::string list = "(";
    while (done < count() && list.size() + kNumberSizeMax < worker::kTextSizeMax) {
      if (list.size() > 1) list += ' ';
      char text[40];
      std::snprintf(text, sizeof text, "%.17g", someDouble(random));
      list += text;
      ++done;
    }
    list += ')';
    const FrameResponse response = worker.handle(startFrame("'" + list));
    ASSERT_EQ(response.status, worker::WorkerStatus::Ok);
    ASSERT_TRUE(areSameBytes(decodeEvalResult(response.payload).text, list));
  }
}

}  // namespace
}  // namespace lisp_worker::testing_support
