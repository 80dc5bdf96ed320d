// The worker against the literal implementation: random conversations, compared answer by answer.
//
// LISP_DIFFERENTIAL_COUNT says how many conversations are held, LISP_DIFFERENTIAL_SEED the first
// one's seed. A failure prints the seed and the smallest conversation that still fails.

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "testing/base/test_environment.h"
#include "testing/generators/conversation.h"
#include "testing/wire/frame_makers.h"
#include "testing/workers/real_worker.h"

namespace lisp_worker::testing_support {
namespace {

constexpr std::uint64_t kConversationCount = 600;
constexpr std::uint64_t kFirstSeed = 1;
constexpr int kShrinkAttemptsMax = 3000;

std::optional<std::size_t> disagreementIn(const std::vector<Exchange>& exchanges) {
  RealWorker real;
  return firstDisagreement(exchanges, real);
}

// True when a conversation that has nothing in it goes wrong too: then the fault has damaged what
// all workers of the process share, and no attempt at shortening would mean anything.
bool isDamaged() {
  return disagreementIn(
             answerLiterally({Turn{startFrame("T"), {}}, Turn{startFrame("(LIST 1)"), {}}}))
      .has_value();
}

// A description for people: the shortened conversation and the worker's last answer.
std::string report(std::size_t failing_turn, const std::vector<Turn>& turns) {
  if (isDamaged()) {
    return describe(answerLiterally(turns), failing_turn) +
           "but the worker answers otherwise, and wrongly ever after";
  }
  const std::vector<Turn> smaller = shrinkConversation(
      turns,
      [](const std::vector<Turn>& candidate) {
        return disagreementIn(answerLiterally(candidate)).has_value();
      },
      kShrinkAttemptsMax);
  const std::vector<Exchange> exchanges = answerLiterally(smaller);
  RealWorker real;
  for (std::size_t i = 0; i < exchanges.size(); ++i) {
    const FrameResponse actual = real.handle(exchanges[i].frame);
    const FrameResponse& expected = exchanges[i].expected;
    if (actual.status == expected.status && actual.payload == expected.payload) continue;
    return describe(exchanges, i) + "but the worker answers\n  => " + describe(actual);
  }
  return "the shortened conversation no longer fails";
}

TEST(Differential, WorkerAnswersWhatTheLiteralImplementationAnswers) {
  const std::uint64_t first = setting("LISP_DIFFERENTIAL_SEED", kFirstSeed);
  const std::uint64_t count = setting("LISP_DIFFERENTIAL_COUNT", kConversationCount);
  for (std::uint64_t seed = first; seed < first + count; ++seed) {
    Conversation conversation = generateConversation(seed);
    const std::optional<std::size_t> at = disagreementIn(conversation.exchanges);
    if (!at.has_value()) continue;
    conversation.turns.resize(*at + 1);
    ADD_FAILURE() << "seed " << seed << ", turn " << *at << "\n" << report(*at, conversation.turns);
    return;
  }
}

// Every status of an evaluation, every host call, and every message that programs can cause, up to
// what it names.
constexpr std::string_view kOutcomes[] = {
    "status 0",
    "status 3",
    "status 4",
    "status 8",
    "status 9",
    "status 10",
    "status 11",
    "call GETPOINT",
    "call GETCORNER",
    "call GETDIST",
    "call SSGET",
    "call ENTGET",
    "call ENTMOD",
    "call ENTMAKE",
    "call ENTMAKEX",
    "call COMMAND",
    "call COMMAND-S",
    "call OSNAP",
    "unterminated list",
    "unexpected ')'",
    "unterminated string",
    "unexpected end of input",
    "host response parse error",
    "LISP evaluation step limit exceeded",
    "LISP evaluation depth exceeded",
    "unbound symbol",
    "first list item must be a function symbol",
    "quote expects one argument",
    "setq expects symbol/value pairs",
    "setq target must be a symbol",
    "if expects condition, true and optional false expression",
    "while expects a condition",
    "defun syntax error",
    "defun parameter must be symbol",
    "NOT expects one argument",
    "NULL expects one argument",
    "wrong argument count for F",
    "+ expects numbers",
    "- expects numbers",
    "* expects numbers",
    "/ expects numbers",
    "division by zero",
    "1+ expects one number",
    "1- expects one number",
    "cons expects two arguments",
    "length expects list",
    "EQ expects two arguments",
    "EQUAL expects two arguments",
    "= expects two numbers",
    "/= expects two numbers",
    "< expects two numbers",
    "> expects two numbers",
    "<= expects two numbers",
    ">= expects two numbers",
    "unsupported LISP function",
    "DISTANCE expects point list",
    "DISTANCE argument count",
    "ANGLE argument count",
    "ANGLE expects point list",
    "POLAR argument count",
    "POLAR expects point list",
    "polar expects point, angle, distance",
    "trans requires point, source, target and registered context",
    "trans coordinate arguments invalid",
    "trans transform is singular",
    "sslength expects one selection set",
    "sslength expects a selection set",
    "ssname expects selection set and index",
    "ssname expects a selection set",
    "LISP host replay divergence at call 1",
    "LISP host replay divergence at call 2",
    "LISP host replay transcript has unused answers"};

// The statuses and messages that conversations have ended with.
struct Outcomes {
  std::set<std::string, std::less<>> seen;
  std::size_t start_count = 0;
  std::size_t value_count = 0;
};

void note(const Exchange& exchange, Outcomes& outcomes) {
  const EvalResult result = decodeEvalResult(exchange.expected.payload);
  outcomes.seen.insert("status " + std::to_string(static_cast<int>(exchange.expected.status)));
  if (result.eval_status != 0) {
    outcomes.seen.insert(result.text.substr(0, result.text.find(": ")));
  }
  if (!result.call_name.empty()) outcomes.seen.insert("call " + result.call_name);
  if (exchange.frame.type != worker::MessageType::EvalStart) return;
  ++outcomes.start_count;
  if (exchange.expected.status == worker::WorkerStatus::Ok) ++outcomes.value_count;
}

Outcomes outcomesOf(std::uint64_t conversation_count) {
  Outcomes outcomes;
  for (std::uint64_t seed = kFirstSeed; seed < kFirstSeed + conversation_count; ++seed) {
    for (const Exchange& exchange : generateConversation(seed).exchanges) note(exchange, outcomes);
  }
  return outcomes;
}

// A generator that has lost its way compares nothing.
TEST(Differential, ConversationsReachEveryOutcome) {
  const Outcomes outcomes = outcomesOf(400);
  for (const std::string_view text : kOutcomes) EXPECT_TRUE(outcomes.seen.contains(text)) << text;
  // The probes at the end of a conversation are a good half of all programs, and often fail.
  EXPECT_GT(outcomes.value_count * 4, outcomes.start_count);
}

TEST(Differential, ConversationsAreTheSameForTheSameSeed) {
  const Conversation first = generateConversation(42);
  const Conversation second = generateConversation(42);
  ASSERT_EQ(first.exchanges.size(), second.exchanges.size());
  for (std::size_t i = 0; i < first.exchanges.size(); ++i) {
    EXPECT_EQ(first.exchanges[i].frame.payload, second.exchanges[i].frame.payload);
  }
}

// The shrinker on a made-up fault: every text that mentions POLAR fails.
TEST(Differential, ShrinkingKeepsWhatFails) {
  const auto mentions_polar = [](const std::vector<Turn>& turns) {
    for (const Turn& turn : turns) {
      if (turn.frame.payload.find("(POLAR") != std::string::npos) return true;
    }
    return false;
  };
  std::uint64_t seed = 1;
  while (!mentions_polar(generateConversation(seed).turns)) ++seed;
  const std::vector<Turn> smaller =
      shrinkConversation(generateConversation(seed).turns, mentions_polar, kShrinkAttemptsMax);
  ASSERT_EQ(smaller.size(), 1u);
  EXPECT_TRUE(mentions_polar(smaller));
  EXPECT_LE(smaller[0].frame.payload.size(), 8u) << smaller[0].frame.payload;
}

}  // namespace
}  // namespace lisp_worker::testing_support
