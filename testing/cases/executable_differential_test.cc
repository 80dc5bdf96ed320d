// The executable against the literal implementation: random conversations over its pipes. The
// conversations go on where those in process end, so no two tests hold the same ones.

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <optional>

#include "testing/generators/conversation.h"
#include "testing/workers/executable_worker.h"

namespace lisp_worker::testing_support {
namespace {

constexpr std::uint64_t kFirstSeed = 1000001;
constexpr std::uint64_t kConversationCount = 60;

TEST(ExecutableDifferential, ExecutableAnswersWhatTheLiteralImplementationAnswers) {
  std::size_t exchange_count = 0;
  for (std::uint64_t seed = kFirstSeed; seed < kFirstSeed + kConversationCount; ++seed) {
    const Conversation conversation = generateConversation(seed);
    ExecutableWorker worker;
    const std::optional<std::size_t> at = firstDisagreement(conversation.exchanges, worker);
    ASSERT_FALSE(at.has_value()) << "seed " << seed << "\n"
                                 << describe(conversation.exchanges, *at);
    exchange_count += conversation.exchanges.size();
  }
  EXPECT_GT(exchange_count, 10 * kConversationCount);
}

}  // namespace
}  // namespace lisp_worker::testing_support
