// A kept evaluation cannot be told from a replayed one: the same conversations with workers that
// keep nothing, little, and as much as the worker does, and with the literal implementation, which
// replays.
//
// LISP_WAITING_COUNT says how many conversations are held, LISP_WAITING_SEED the first one's seed.

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "testing/base/test_environment.h"
#include "testing/generators/conversation.h"
#include "testing/generators/waiting_conversation.h"
#include "testing/reference/literal_worker.h"
#include "testing/wire/frame_makers.h"
#include "testing/workers/keepings.h"
#include "testing/workers/real_worker.h"

namespace lisp_worker::testing_support {
namespace {

// Says where the first worker differs; empty when all agree.
std::string disagreement(const std::vector<Exchange>& exchanges) {
  for (const Keeping& keeping : keepings()) {
    RealWorker worker(keeping.limits);
    const std::optional<std::size_t> at = firstDisagreement(exchanges, worker);
    if (!at.has_value()) continue;
    return "a worker that keeps " + std::string(keeping.name) + " answers otherwise:\n" +
           describe(exchanges, *at);
  }
  return {};
}

TEST(KeptRuns, AnswerAsTheLiteralImplementationDoes) {
  const std::uint64_t first = setting("LISP_WAITING_SEED", 1);
  const std::uint64_t count = setting("LISP_WAITING_COUNT", 3000) / 20;
  for (std::uint64_t seed = first; seed < first + count; ++seed) {
    LiteralWorker literal;
    const std::vector<Exchange> exchanges = playWaitingConversation(seed, literal);
    if (literal.abandoned()) continue;
    ASSERT_EQ(disagreement(exchanges), "") << "seed " << seed;
  }
}

TEST(KeptRuns, AnswerAsReplayedOnesDo) {
  const std::uint64_t first = setting("LISP_WAITING_SEED", 1);
  const std::uint64_t count = setting("LISP_WAITING_COUNT", 3000);
  std::size_t answer_count = 0;
  for (std::uint64_t seed = first; seed < first + count; ++seed) {
    RealWorker replaying({.count_max = 0});
    const std::vector<Exchange> exchanges = playWaitingConversation(seed, replaying);
    for (const Exchange& exchange : exchanges) {
      if (exchange.frame.type == worker::MessageType::EvalResume) ++answer_count;
    }
    ASSERT_EQ(disagreement(exchanges), "") << "seed " << seed;
  }
  EXPECT_GT(answer_count, 10 * count);
}

// Everything else that generated conversations do, with workers that keep.
TEST(KeptRuns, ChangeNothingInOrdinaryConversations) {
  const std::uint64_t count = setting("LISP_WAITING_COUNT", 3000) / 50;
  for (std::uint64_t seed = 1; seed <= count; ++seed) {
    ASSERT_EQ(disagreement(generateConversation(seed).exchanges), "") << "seed " << seed;
  }
}

// The host call at every depth up to the limit.
TEST(KeptRuns, WaitAtEveryDepth) {
  for (int depth = 0; depth <= 130; ++depth) {
    std::string form = "(GETDIST (GETPOINT))";
    for (int level = 0; level < depth; ++level) form = "(LIST " + form + ")";
    LiteralWorker literal;
    std::vector<Exchange> exchanges;
    for (const Frame& frame : {startFrame("(SETQ A '(GETPOINT)) " + form), resumeFrame(1, "1"),
                               resumeFrame(1, "2"), resumeFrame(1, "3"), startFrame("A")}) {
      exchanges.push_back({frame, literal.handle(frame)});
    }
    ASSERT_EQ(disagreement(exchanges), "") << "depth " << depth;
  }
}

// A run that loops over host calls, with other requests between two answers.
class Loop {
 public:
  Loop(RealWorker& worker, const std::string& program, std::uint64_t context_id = 0)
      : worker_(worker) {
    take(worker.handle(startFrame(program, context_id)));
  }
  // Answers once. False when the run has ended.
  bool answer(const std::string& text = "(1 2)") {
    if (run_id_ == 0) return false;
    take(worker_.handle(resumeFrame(run_id_, text)));
    return run_id_ != 0;
  }
  [[nodiscard]] std::uint64_t runId() const { return run_id_; }
  [[nodiscard]] const EvalResult& result() const { return result_; }

 private:
  void take(const FrameResponse& response) {
    result_ = decodeEvalResult(response.payload);
    run_id_ = result_.run_id;
  }

  RealWorker& worker_;
  std::uint64_t run_id_ = 0;
  EvalResult result_;
};

constexpr const char* kLoop =
    "(SETQ I 0) (WHILE (< I 2000) (ENTMAKE (LIST I (+ I 1))) (SETQ I (1+ I)))";

TEST(KeptRuns, CountTheStepsOfTheWholeRun) {
  RealWorker worker;
  Loop loop(worker, kLoop);
  while (loop.answer()) {
  }
  EXPECT_EQ(loop.result().text, "2000");
  EXPECT_EQ(loop.result().steps, 24006U);
}

// The step limit counts what was evaluated before the answers: 6 * 41,665 + 8 steps, and one for
// each number at the end.
TEST(KeptRuns, EndAtTheStepLimitWhereverTheyWaited) {
  const std::string loop_text =
      "(GETDIST) (SETQ I 0) (WHILE (< I 41665) (SETQ I (1+ I))) (GETDIST)";
  for (const Keeping& keeping : keepings()) {
    for (const std::uint64_t more : {1, 2, 3}) {
      std::string program = loop_text;
      for (std::uint64_t i = 0; i < more; ++i) program += " 2";
      RealWorker worker(keeping.limits);
      Loop loop(worker, program);
      EXPECT_TRUE(loop.answer());
      EXPECT_EQ(loop.result().steps, 249998U);
      EXPECT_FALSE(loop.answer());
      const bool is_over = more == 3;
      EXPECT_EQ(loop.result().steps, 249998U + more) << keeping.name;
      EXPECT_EQ(loop.result().text, is_over ? "LISP evaluation step limit exceeded" : "2")
          << keeping.name;
    }
  }
}

}  // namespace
}  // namespace lisp_worker::testing_support
