// Conversations that arrive damaged: cut, delivered byte by byte, unanswered, with other bytes in
// it, shifted. Nothing of it may bring the worker down or make it hang, and what it says until its
// end must be what a worker may say.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "lisp_worker/client/names.h"
#include "lisp_worker/worker/exit_code.h"
#include "lisp_worker/worker/frame.h"
#include "testing/base/random.h"
#include "testing/base/same_bytes.h"
#include "testing/cases/whole_conversation.h"
#include "testing/formats/reference_conversation.h"
#include "testing/formats/scenario.h"
#include "testing/wire/wire_frames.h"
#include "testing/wire/wire_laws.h"

namespace lisp_worker::testing_support {

INSTANTIATE_TEST_SUITE_P(Whole, WholeConversation, testing::Values(referenceConversation()),
                         nameOf);

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using worker::ExitCode;
using worker::kHeaderSize;
using worker::WorkerStatus;

constexpr std::uint64_t kSeedCount = 3;

// The offsets at which requests of the reference conversation and their responses begin.
struct Edge {
  std::size_t input = 0;
  std::size_t output = 0;
};

std::vector<Edge> edges() {
  std::vector<Edge> edges = {{}};
  for (const Scenario::Turn& turn : referenceConversation().turns()) {
    edges.push_back(
        {edges.back().input + turn.request.size(), edges.back().output + turn.response.size()});
  }
  return edges;
}

// All that have a name.
std::set<worker::MessageType> messageTypes() {
  std::set<worker::MessageType> types;
  for (int number = 0; number < 256; ++number) {
    const auto type = static_cast<worker::MessageType>(number);
    if (client::messageTypeName(type) != "unknown type") types.insert(type);
  }
  return types;
}
std::set<worker::WorkerStatus> statuses() {
  std::set<worker::WorkerStatus> statuses;
  for (int number = 0;; ++number) {
    const auto status = static_cast<worker::WorkerStatus>(number);
    if (client::statusName(status) == "unknown status") return statuses;
    statuses.insert(status);
  }
}

TEST(ReferenceConversation, HoldsEveryTypeAndStatus) {
  std::set<worker::MessageType> types_missing = messageTypes();
  std::set<worker::WorkerStatus> statuses_missing = statuses();
  std::set<int> types_of_no_message = {0, 256};
  for (const WireResponse& response : splitResponses(referenceConversation().output())) {
    types_missing.erase(static_cast<worker::MessageType>(response.header.type));
    types_of_no_message.erase(response.header.type);
    statuses_missing.erase(static_cast<worker::WorkerStatus>(response.header.status));
  }
  EXPECT_GE(referenceConversation().turns().size(), 60U);
  EXPECT_THAT(types_of_no_message, IsEmpty());
  // A Shutdown would hide what comes after it.
  EXPECT_THAT(types_missing, ElementsAre(worker::MessageType::Shutdown));
  // Two end the worker, and one takes 250000 steps.
  EXPECT_THAT(statuses_missing,
              ElementsAre(worker::WorkerStatus::BadMagic, worker::WorkerStatus::BadVersion,
                          worker::WorkerStatus::EvalStepLimit));
}

TEST(ReferenceConversation, GoesTheSameInPiecesOfAnySize) {
  for (const std::size_t piece_size : {1, 2, 3, 7, 63, 64, 65, 127, 1000}) {
    EXPECT_EQ(holdInProcess(referenceConversation(), piece_size), "") << piece_size;
  }
}

TEST(HostileInput, CutAtAnyByteEndsTheWorkerAsItMust) {
  const std::string input = referenceConversation().input();
  const std::string output = referenceConversation().output();
  const std::vector<Edge> all_edges = edges();
  std::size_t turn = 0;
  for (std::size_t cut = 0; cut < input.size(); ++cut) {
    if (cut == all_edges[turn + 1].input) ++turn;
    const bool in_header = cut - all_edges[turn].input < kHeaderSize;
    const WorkerLife life = liveInProcess(input.substr(0, cut));
    ASSERT_EQ(life.exit_code,
              static_cast<int>(in_header ? ExitCode::Finished : ExitCode::PayloadCut))
        << cut;
    ASSERT_TRUE(areSameBytes(life.output, output.substr(0, all_edges[turn].output))) << cut;
  }
}

TEST(HostileInput, OutputThatFailsAtAnyByteEndsTheWorkerAsItMust) {
  const std::string input = referenceConversation().input();
  const std::string output = referenceConversation().output();
  const std::vector<Edge> all_edges = edges();
  std::size_t turn = 0;
  for (std::size_t size = 0; size < output.size(); ++size) {
    if (size == all_edges[turn + 1].output) ++turn;
    const bool in_header = size - all_edges[turn].output < kHeaderSize;
    const WorkerLife life = liveInProcess(input, kAnySize, size);
    ASSERT_EQ(life.exit_code,
              static_cast<int>(in_header ? ExitCode::HeaderUnwritten : ExitCode::PayloadUnwritten))
        << size;
    ASSERT_TRUE(areSameBytes(life.output, output.substr(0, size))) << size;
  }
  EXPECT_EQ(liveInProcess(input, kAnySize, output.size()).exit_code, 0);
}

// The one type that the reference conversation has to leave out, since nothing comes after it.
TEST(HostileInput, AroundAShutdownEndsTheWorkerAsItMust) {
  const std::string before = referenceConversation().input();
  const std::string output = referenceConversation().output();
  const std::string shutdown = frameBytes(requestHeader(worker::MessageType::Shutdown), "payload");
  for (std::size_t cut = 0; cut <= shutdown.size(); ++cut) {
    const WorkerLife life = liveInProcess(before + shutdown.substr(0, cut), 1);
    const bool in_payload = cut >= kHeaderSize && cut < shutdown.size();
    ASSERT_EQ(life.exit_code,
              static_cast<int>(in_payload ? ExitCode::PayloadCut : ExitCode::Finished))
        << cut;
    ASSERT_EQ(life.output.size(), output.size() + (cut == shutdown.size() ? kHeaderSize : 0));
  }
  for (std::size_t size = output.size(); size <= output.size() + kHeaderSize; ++size) {
    const WorkerLife life = liveInProcess(before + shutdown, 1, size);
    ASSERT_EQ(life.exit_code, 0) << size;
    ASSERT_EQ(life.output.size(), size);
  }
}

// Sends a conversation that is as it should be up to `damage` and holds the worker to its laws.
// The requests before the damaged one must be answered as ever.
class DamagedConversation : public testing::TestWithParam<std::uint64_t> {
 protected:
  [[nodiscard]] std::string fault(const std::string& damaged, std::size_t damage) const {
    const WorkerLife life = liveInProcess(damaged);
    const std::string law = brokenLaw(damaged, life.output, life.exit_code);
    if (!law.empty()) return law;
    // The last edge at or before the damage.
    const auto later =
        std::upper_bound(edges_.begin(), edges_.end(), damage,
                         [](std::size_t byte, const Edge& edge) { return byte < edge.input; });
    const std::size_t unharmed = (later - 1)->output;
    if (life.output.compare(0, unharmed, output_, 0, unharmed) != 0) {
      return "what came before the damage is answered differently";
    }
    return {};
  }

  const std::string input_ = referenceConversation().input();
  const std::string output_ = referenceConversation().output();
  const std::vector<Edge> edges_ = edges();
  Random random_{GetParam()};
};

// A byte that is not `old`.
char otherByte(Random& random, char old) {
  return static_cast<char>(old ^ static_cast<char>(1 + random.below(255)));
}

TEST_P(DamagedConversation, WithAnotherByteAnywhere) {
  for (std::size_t i = 0; i < input_.size(); ++i) {
    std::string damaged = input_;
    damaged[i] = otherByte(random_, damaged[i]);
    ASSERT_EQ(fault(damaged, i), "") << "byte " << i << " is " << int{damaged[i]};
  }
}

TEST_P(DamagedConversation, WithAByteMoreAnywhere) {
  for (std::size_t i = 0; i < input_.size(); ++i) {
    std::string damaged = input_;
    damaged.insert(i, 1, static_cast<char>(random_.bits()));
    ASSERT_EQ(fault(damaged, i), "") << "byte " << i;
  }
}

TEST_P(DamagedConversation, WithAByteLessAnywhere) {
  for (std::size_t i = 0; i < input_.size(); ++i) {
    std::string damaged = input_;
    damaged.erase(i, 1 + (GetParam() - 1) * random_.below(64));
    ASSERT_EQ(fault(damaged, i), "") << "byte " << i;
  }
}

// Several bytes at once, but never the fields that would end the worker: so that what follows is
// read as requests, too.
TEST_P(DamagedConversation, WithOtherPayloadsAndTypesAndIds) {
  constexpr int kRoundCount = 1000;
  for (int round = 0; round < kRoundCount; ++round) {
    std::string damaged = input_;
    std::size_t first = input_.size();
    for (int i = random_.between(1, 20); i > 0; --i) {
      const std::size_t turn = random_.below(edges_.size() - 1);
      const std::size_t begin = edges_[turn].input;
      const std::size_t size = edges_[turn + 1].input - begin;
      std::size_t offset = random_.below(size);
      if (offset < kHeaderSize) {
        constexpr std::size_t kHarmless[] = {6, 16, 24, 32, 39, 12, 40};
        offset = random_.pick(kHarmless);
      }
      damaged[begin + offset] = offset == 6 ? static_cast<char>(random_.below(11))
                                            : otherByte(random_, damaged[begin + offset]);
      first = std::min(first, begin + offset);
    }
    ASSERT_EQ(fault(damaged, first), "") << "round " << round;
  }
}

INSTANTIATE_TEST_SUITE_P(Seeds, DamagedConversation,
                         testing::Range<std::uint64_t>(1, 1 + kSeedCount));

// A payload of bytes out of nowhere, mostly those that programs are made of.
std::string randomPayload(Random& random) {
  static constexpr std::string_view kAlphabet =
      "()()'\"; \\\n\x1A"
      "T+-*/1<=eECARSET$.,\xE4";
  constexpr std::size_t kSizes[] = {0, 1, 31, 32, 33, 64, 415, 416};
  std::string payload(random.pick(kSizes), '\0');
  for (char& byte : payload) {
    byte = random.chance(9, 10) ? kAlphabet[random.below(kAlphabet.size())]
                                : static_cast<char>(random.bits());
  }
  return payload;
}

// Such a payload behind a header that lets the worker go on.
std::string randomRequest(Random& random) {
  worker::MessageHeader header = requestHeader(static_cast<std::uint16_t>(random.below(12)));
  header.request_id = random.bits();
  header.context_id = random.below(3);
  header.run_id = random.below(4);
  return frameBytes(header, randomPayload(random));
}

TEST(HostileInput, OfRandomRequestsIsAnsweredByTheLaws) {
  constexpr int kRoundCount = 300;
  constexpr int kRequestCount = 40;
  for (std::uint64_t seed = 1; seed <= kRoundCount; ++seed) {
    Random random(seed);
    std::string input;
    for (int i = 0; i < kRequestCount; ++i) input += randomRequest(random);
    const WorkerLife life = liveInProcess(input);
    ASSERT_EQ(brokenLaw(input, life.output, life.exit_code), "") << "seed " << seed;
  }
}

TEST(HostileInput, OfPureNoiseEndsTheWorkerAtItsFirstHeader) {
  for (std::uint64_t seed = 1; seed <= 1000; ++seed) {
    Random random(seed);
    std::string noise(random.below(300), '\0');
    for (char& byte : noise) byte = static_cast<char>(random.bits());
    const WorkerLife life = liveInProcess(noise);
    ASSERT_EQ(brokenLaw(noise, life.output, life.exit_code), "") << "seed " << seed;
    ASSERT_EQ(life.output.size(), noise.size() < kHeaderSize ? 0U : kHeaderSize);
  }
}

// A judge that lets everything pass would be no judge.

TEST(WireLaws, CondemnOutputThatIsCutOrTooLong) {
  const std::string input = referenceConversation().input();
  const std::string output = referenceConversation().output();
  EXPECT_EQ(brokenLaw(input, output, 0), "");
  EXPECT_EQ(brokenLaw(input, output, 5), "exit code 5 instead of 0");
  EXPECT_EQ(brokenLaw(input, output + "x", 0), "output after the last response");
  EXPECT_EQ(brokenLaw(input, output.substr(0, output.size() - 64), 0),
            "request " + std::to_string(referenceConversation().turns().size() - 1) +
                ": a request is not answered");
  EXPECT_EQ(brokenLaw("", "x", 0), "output after the last response");
  EXPECT_EQ(brokenLaw(input.substr(0, 63), output.substr(0, 64), 0),
            "output after the last response");
}

// Every byte of a response that is not free to be anything.
TEST(WireLaws, CondemnAnyOtherByteInWhatIsFixed) {
  const std::string input = referenceConversation().input();
  const std::string output = referenceConversation().output();
  const std::vector<Edge> all_edges = edges();
  std::size_t condemned = 0;
  for (std::size_t turn = 0; turn + 1 < all_edges.size(); ++turn) {
    for (std::size_t i = all_edges[turn].output; i < all_edges[turn].output + kHeaderSize; ++i) {
      // Other statuses of a refusal are possible answers; so much is not known here.
      const std::size_t offset = i - all_edges[turn].output;
      if (offset == worker::HeaderOffset::kStatus) continue;
      std::string damaged = output;
      damaged[i] = static_cast<char>(damaged[i] ^ 0x40);
      ASSERT_NE(brokenLaw(input, damaged, 0), "") << "turn " << turn << ", byte " << offset;
      ++condemned;
    }
  }
  EXPECT_EQ(condemned, referenceConversation().turns().size() * (kHeaderSize - 1));
}

}  // namespace
}  // namespace lisp_worker::testing_support
