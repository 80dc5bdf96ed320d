// Loops over entities cost what they touch: four times as many calls, or four times as large a
// drawing, take about four times the processor time. Where each call looked at the whole drawing
// it would be sixteen times.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <ctime>
#include <limits>
#include <sstream>
#include <string>

#include "console/contexts.h"
#include "console/explainer.h"
#include "console/host.h"
#include "console/session.h"
#include "lisp_worker/client/answer_text.h"
#include "lisp_worker/client/worker_client.h"
#include "testing/base/test_environment.h"
#include "testing/wire/memory_channel.h"

namespace lisp_worker::console {
namespace {

// Between 4 and 16. Processor time, and the best of some: other work of the machine hardly shows.
constexpr double kRatioMax = 8;
constexpr int kAttemptCount = 5;

template <typename Work>
double secondsOf(Work work) {
  const std::clock_t begin = std::clock();
  work();
  return static_cast<double>(std::clock() - begin) / CLOCKS_PER_SEC;
}

// `make` returns the work for n; only that is measured.
template <typename Make>
void expectLinear(std::size_t n, const Make& make) {
  if (testing_support::isSanitized()) n /= 8;
  double ratio = std::numeric_limits<double>::infinity();
  for (int attempt = 0; attempt < kAttemptCount && ratio > kRatioMax; ++attempt) {
    const double few = secondsOf(make(n));
    const double many = secondsOf(make(4 * n));
    ratio = std::min(ratio, many / std::max(few, 0.001));
  }
  EXPECT_LE(ratio, kRatioMax);
}

class Growth : public testing::Test {
 protected:
  static client::EvalResult callOf(const std::string& name, const std::string& arguments,
                                   std::uint16_t count) {
    client::EvalResult waiting;
    waiting.status = worker::WorkerStatus::HostCallPending;
    waiting.eval_status = client::EvalStatus::HostCallRequired;
    waiting.call_name = name;
    waiting.arg_count = count;
    waiting.text = arguments;
    return waiting;
  }

  static std::string circleAt(std::size_t n) {
    return "((0 \"CIRCLE\") (10 (" + std::to_string(n) + " 5)) (40 3))";
  }

  static std::string handleOf(std::size_t n) { return "\"E" + std::to_string(n + 1) + "\""; }

  static Drawing drawingOf(std::size_t count) {
    Drawing drawing;
    std::string refusal;
    for (std::size_t n = 0; n < count; ++n) {
      EXPECT_TRUE(drawing.add(*client::readDatum(circleAt(n), nullptr), refusal)) << refusal;
    }
    return drawing;
  }

  // A call for each entity of a drawing of `count`, or for each that it is to get.
  template <typename Call>
  static auto loop(Drawing drawing, std::size_t count, const Call& call) {
    return [drawing = std::move(drawing), count, call]() mutable {
      Host host(drawing, {});
      for (std::size_t n = 0; n < count; ++n) {
        const HostAnswer answer = host.answer(call(n));
        ASSERT_FALSE(answer.is_refused) << answer.note;
      }
    };
  }
};

TEST_F(Growth, OfALoopThatMakesEntitiesIsLinear) {
  expectLinear(10000, [](std::size_t count) {
    return loop(Drawing(), count,
                [](std::size_t n) { return callOf("ENTMAKE", "(" + circleAt(n) + ")", 1); });
  });
}

TEST_F(Growth, OfALoopOfCommandsIsLinear) {
  expectLinear(10000, [](std::size_t count) {
    return loop(Drawing(), count, [](std::size_t n) {
      return callOf("COMMAND", "(\"CIRCLE\" (" + std::to_string(n) + " 5) 3)", 3);
    });
  });
}

TEST_F(Growth, OfALoopThatMakesLayersIsLinear) {
  expectLinear(5000, [](std::size_t count) {
    return loop(Drawing(), count, [](std::size_t n) {
      return callOf("COMMAND", "(\"LAYER\" \"M\" \"L" + std::to_string(n) + "\" \"\")", 4);
    });
  });
}

TEST_F(Growth, OfALoopThatGetsEachEntityIsLinear) {
  expectLinear(5000, [](std::size_t count) {
    return loop(drawingOf(count), count,
                [](std::size_t n) { return callOf("ENTGET", "(" + handleOf(n) + ")", 1); });
  });
}

TEST_F(Growth, OfALoopThatMovesEachEntityIsLinear) {
  expectLinear(5000, [](std::size_t count) {
    return loop(drawingOf(count), count, [](std::size_t n) {
      return callOf("COMMAND", "(\"MOVE\" " + handleOf(n) + " \"\" (0 0) (1 1))", 5);
    });
  });
}

TEST_F(Growth, OfALoopThatErasesEachEntityIsLinear) {
  expectLinear(5000, [](std::size_t count) {
    return loop(drawingOf(count), count, [](std::size_t n) {
      return callOf("COMMAND", "(\"ERASE\" " + handleOf(n) + " \"\")", 3);
    });
  });
}

TEST_F(Growth, OfSelectingAndMovingAllIsLinear) {
  for (const client::EvalResult& call :
       {callOf("SSGET", "(\"X\" ((0 \"CIRCLE\") (8 \"0\")))", 2),
        callOf("SSGET", "(\"W\" (-10 -10) (100000 100))", 3),
        callOf("COMMAND", "(\"MOVE\" \"ALL\" \"\" (0 0) (1 1))", 5)}) {
    SCOPED_TRACE(call.text);
    expectLinear(5000, [&call](std::size_t count) {
      return [drawing = drawingOf(count), &call]() mutable {
        Host host(drawing, {});
        EXPECT_FALSE(host.answer(call).is_refused);
      };
    });
  }
}

// A text that holds a quote can be read in two ways, and the program is asked for each call.
TEST_F(Growth, OfALoopWhoseTextsHoldQuotesIsLinear) {
  expectLinear(1000, [](std::size_t count) {
    return [count] {
      const client::EvalResult waiting = callOf("COMMAND", R"(("TEXT" "0,0" 5 0 "3/4" BOLT"))", 5);
      Explainer explainer;
      explainer.start("loop.lsp",
                      "(SETQ N 0)(WHILE (< N " + std::to_string(count) +
                          R"() (COMMAND "TEXT" "0,0" 5 0 "3/4\" BOLT") (SETQ N (1+ N))))",
                      nullptr);
      for (std::size_t n = 0; n < count; ++n) {
        const auto arguments = explainer.argumentsOf(waiting);
        ASSERT_TRUE(arguments.has_value());
        ASSERT_EQ(client::asString(arguments->back()), "3/4\" BOLT");
        explainer.answer("COMMAND", "nil", "");
      }
    };
  });
}

// A whole program of up to kHostCallCountMax calls: its conversation, what is kept of it, and the
// report of changes.
TEST_F(Growth, OfASessionIsLinear) {
  expectLinear(2400, [](std::size_t count) {
    return [count] {
      testing_support::MemoryChannel channel;
      std::uint64_t request = 0;
      channel.respond(++request, worker::MessageType::RegisterContext, worker::WorkerStatus::Ok, "",
                      1);
      for (std::size_t n = 0; n < count; ++n) {
        channel.respond(++request,
                        n == 0 ? worker::MessageType::EvalStart : worker::MessageType::EvalResume,
                        worker::WorkerStatus::HostCallPending,
                        testing_support::EvalPayload{.eval_status = 4,
                                                     .arg_count = 1,
                                                     .call_name = "ENTMAKE",
                                                     .run_id = 1,
                                                     .text = "(" + circleAt(n) + ")"}
                            .bytes(),
                        n == 0 ? 1 : 0);
      }
      channel.respond(++request, worker::MessageType::EvalResume, worker::WorkerStatus::Ok,
                      testing_support::EvalPayload{.text = "nil"}.bytes(), 0);
      client::WorkerClient worker(channel);
      std::ostringstream out;
      Session session(worker, out);
      session.setBrief(true);
      EXPECT_EQ(session.run("loop.lsp", "...", Script()), ProgramEnd::AsExpected)
          << (worker.fault() ? worker.fault()->message : out.str());
      EXPECT_EQ(session.drawing().entities().size(), count);
    };
  });
}

}  // namespace
}  // namespace lisp_worker::console
