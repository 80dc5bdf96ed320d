// Divergences of known cause, made by the hundred: two sessions, or one, that were the same up to
// one change that the test has made itself.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "lisp_worker/session/explain.h"
#include "lisp_worker/session/replay.h"
#include "testing/base/random.h"
#include "testing/workers/session_maker.h"

namespace lisp_worker::session {
namespace {

using client::CoordContext;
using client::Datum;
using client::HostCall;
using testing::HasSubstr;
using testing_support::InProcessWorker;
using testing_support::Random;
using testing_support::SessionMaker;

constexpr std::uint64_t kSeedCount = 90;  // For each of the kinds below.

// A host call as a program writes it: the function and its arguments, each of them a form.
struct Call {
  std::string function;
  std::vector<std::string> arguments;

  [[nodiscard]] std::string text() const {
    std::string text = "(" + function;
    for (const std::string& argument : arguments) text += " " + argument;
    return text + ")";
  }
};

// The host's part of a conversation.
struct Script {
  std::vector<std::string> setup;  // Programs without host calls.
  std::string program;
  CoordContext context;
  std::vector<Datum> answers;  // Given out in turn; nil after the last.
};

class Generator {
 public:
  explicit Generator(std::uint64_t seed) : random_(seed) {}

  Random& random() { return random_; }

  std::vector<Call> calls(int count_min) {
    std::vector<Call> calls;
    const int count = random_.between(count_min, 7);
    while (calls.size() < static_cast<std::size_t>(count)) {
      Call call{random_.pick(kFunctions), {}};
      // No two calls are the same, so that each change is a change.
      call.arguments.push_back('"' + std::to_string(calls.size()) + ". " + word() + '"');
      for (int more = random_.between(0, 3); more > 0; --more) call.arguments.push_back(value(2));
      calls.push_back(std::move(call));
    }
    return calls;
  }

  std::string value(int depth) {
    switch (random_.below(depth > 0 ? 5 : 3)) {
      case 0:
        return std::to_string(random_.between(-99, 99)) + ".5";
      case 1:
        return '"' + word() + '"';
      case 2:
        return "'" + upperWord();
      default: {
        std::string text = "(LIST";
        for (int count = random_.between(0, 4); count > 0; --count) text += " " + value(depth - 1);
        return text + ")";
      }
    }
  }

  Datum answer() { return client::point(random_.between(-9, 9), random_.between(-9, 9), 0); }

  std::string word() { return random_.pick(kWords); }

 private:
  std::string upperWord() {
    std::string text = word();
    for (char& c : text) c = c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
    return text;
  }

  static inline const std::string kFunctions[] = {"GETPOINT", "GETCORNER", "GETDIST", "SSGET",
                                                  "ENTGET",   "ENTMOD",    "ENTMAKE", "ENTMAKEX",
                                                  "COMMAND",  "COMMAND-S", "OSNAP"};
  static inline const std::string kWords[] = {"from", "to", "radius", "walls", "holes", "plan"};

  Random random_;
};

std::string programOf(const std::vector<Call>& calls) {
  std::string program;
  for (const Call& call : calls) program += call.text() + "\n";
  return program + "'DONE";
}

RecordedSession hold(const Script& script) {
  SessionMaker maker;
  client::Worker& worker = maker.worker();
  EXPECT_EQ(worker.registerContext(script.context), worker::WorkerStatus::Ok);
  for (const std::string& program : script.setup) EXPECT_TRUE(worker.run(program)->hasValue());
  std::size_t next = 0;
  const auto answer = [&](const HostCall& /*call*/) {
    return std::optional(next < script.answers.size() ? script.answers[next++] : client::nil());
  };
  EXPECT_TRUE(worker.run(script.program, answer, {.context_id = script.context.id})->hasValue());
  return maker.session();
}

// As if one and the same host had met another worker: the requests of `recorded`, what came of
// them from `made`.
RecordedSession withRequestsOf(const RecordedSession& recorded, RecordedSession made) {
  for (std::size_t number = 0; number < made.records.size(); ++number) {
    const bool is_request = number < recorded.records.size() &&
                            recorded.records[number].kind == RecordKind::Request &&
                            made.records[number].kind == RecordKind::Request;
    if (is_request) made.records[number].body = recorded.records[number].body;
  }
  return made;
}

void expectExplained(const std::optional<Explanation>& explanation, Cause cause) {
  ASSERT_TRUE(explanation.has_value());
  EXPECT_EQ(causeName(explanation->cause), causeName(cause)) << explanation->text;
  EXPECT_THAT(explanation->text, HasSubstr("likely cause: " + std::string(causeName(cause))));
  EXPECT_LE(std::count(explanation->text.begin(), explanation->text.end(), '\n'),
            static_cast<std::ptrdiff_t>(kExplanationLinesMax));
}

CoordContext contextWithOrigin(double x) {
  CoordContext context;
  context.id = 3;
  context.systems[1].origin_x = x;
  return context;
}

// Runs `check` with a generator for each seed.
template <typename Check>
void forEverySeed(Check check) {
  for (std::uint64_t seed = 0; seed < kSeedCount; ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    Generator generator(seed);
    check(generator);
    if (testing::Test::HasFailure()) return;
  }
}

// Two sessions whose programs differ as if the worker had changed.
std::optional<Explanation> explainChange(const std::vector<Call>& before,
                                         const std::vector<Call>& after) {
  const RecordedSession recorded = hold(
      {.setup = {}, .program = programOf(before), .context = contextWithOrigin(0), .answers = {}});
  const RecordedSession made = hold(
      {.setup = {}, .program = programOf(after), .context = contextWithOrigin(0), .answers = {}});
  return explainDifference(recorded, withRequestsOf(recorded, made));
}

TEST(ExplainGenerated, FindsCallsInAnotherOrder) {
  forEverySeed([](Generator& generator) {
    const std::vector<Call> before = generator.calls(2);
    std::vector<Call> after = before;
    const std::size_t index = generator.random().below(before.size() - 1);
    std::swap(after[index], after[index + 1]);
    const auto explanation = explainChange(before, after);
    expectExplained(explanation, Cause::Order);
    EXPECT_THAT(explanation->text, HasSubstr("after " + std::to_string(index) + " answer"));
  });
}

TEST(ExplainGenerated, FindsACallTooManyAndOneTooFew) {
  forEverySeed([](Generator& generator) {
    const std::vector<Call> before = generator.calls(2);
    std::vector<Call> after = before;
    if (generator.random().chance(1, 2)) {
      const auto at = static_cast<std::ptrdiff_t>(generator.random().below(before.size() + 1));
      after.insert(after.begin() + at, Call{"GETDIST", {"\"one more\""}});
    } else {
      const auto at = static_cast<std::ptrdiff_t>(generator.random().below(before.size()));
      after.erase(after.begin() + at);
    }
    expectExplained(explainChange(before, after), Cause::Count);
  });
}

TEST(ExplainGenerated, FindsAnotherArgumentAndTheWayToIt) {
  forEverySeed([](Generator& generator) {
    const std::vector<Call> before = generator.calls(1);
    std::vector<Call> after = before;
    const std::size_t index = generator.random().below(before.size());
    std::vector<std::string>& arguments = after[index].arguments;
    const std::size_t argument = generator.random().below(arguments.size());
    // Nested deeper than anything the generator makes, so never the same by chance.
    arguments[argument] = "(LIST 1 (LIST 2 (LIST 3 (LIST \"other\"))))";
    const auto explanation = explainChange(before, after);
    expectExplained(explanation, Cause::Argument);
    EXPECT_THAT(explanation->text,
                HasSubstr("first difference: argument " + std::to_string(argument + 1)));
  });
}

TEST(ExplainGenerated, FindsTheElementThatDiffers) {
  forEverySeed([](Generator& generator) {
    Random& random = generator.random();
    const int outer = random.between(1, 5);
    const int inner = random.between(1, 4);
    const auto nested = [&](const std::string& changed) {
      std::string text = "(LIST";
      for (int n = 1; n <= 5; ++n) {
        text += " (LIST";
        for (int m = 1; m <= 4; ++m) {
          text += n == outer && m == inner ? " " + changed : " " + std::to_string(10 * n + m);
        }
        text += ")";
      }
      return text + ")";
    };
    const std::vector<Call> before = {{"ENTMOD", {"1", nested("0.25")}}};
    const std::vector<Call> after = {{"ENTMOD", {"1", nested("0.75")}}};
    const auto explanation = explainChange(before, after);
    expectExplained(explanation, Cause::Argument);
    EXPECT_THAT(explanation->text,
                HasSubstr("first difference: argument 2, element " + std::to_string(outer) +
                          ", element " + std::to_string(inner) + ": 0.25 became 0.75"));
  });
}

TEST(ExplainGenerated, FindsAContextThatIsAnotherOne) {
  forEverySeed([](Generator& generator) {
    std::vector<Call> calls = generator.calls(1);
    calls[generator.random().below(calls.size())].arguments.emplace_back("(TRANS '(1 2) 1 0)");
    const int before = generator.random().between(0, 99);
    const int after = before + generator.random().between(1, 99);
    const std::string program = programOf(calls);
    const RecordedSession recorded = hold(
        {.setup = {}, .program = program, .context = contextWithOrigin(before), .answers = {}});
    const RecordedSession made =
        hold({.setup = {}, .program = program, .context = contextWithOrigin(after), .answers = {}});
    const auto explanation = explainDifference(recorded, made);
    expectExplained(explanation, Cause::ContextReplaced);
    EXPECT_THAT(explanation->text, HasSubstr("system 1, origin_x: " + std::to_string(before) +
                                             " became " + std::to_string(after)));
  });
}

TEST(ExplainGenerated, FindsAContextThatWasReplacedWhileARunWaited) {
  forEverySeed([](Generator& generator) {
    std::vector<Call> calls = generator.calls(2);
    const std::size_t moved = generator.random().below(calls.size());
    calls[moved].arguments.emplace_back("(CAR (TRANS '(1 2) 1 0))");
    SessionMaker maker;
    client::Worker& worker = maker.worker();
    ASSERT_TRUE(worker.registerContext(contextWithOrigin(0)).has_value());
    const std::size_t replaced_at =
        moved + 1 + generator.random().below(calls.size() - moved);  // This call is pending.
    std::size_t call_count = 0;
    const auto answer = [&](const HostCall& /*call*/) {
      if (++call_count == replaced_at) {
        EXPECT_TRUE(worker.registerContext(contextWithOrigin(50)).has_value());
      }
      return std::optional(client::nil());
    };
    ASSERT_EQ(worker.run(programOf(calls), answer, {.context_id = 3})->end,
              client::RunEnd::EvalError);
    const std::string index = std::to_string(calls[moved].arguments.size());
    const client::WorkerStarter starter = &InProcessWorker::start;
    const auto explanation = explainDivergence(maker.session(), &starter);
    expectExplained(explanation, Cause::ContextReplaced);
    EXPECT_THAT(explanation->text,
                HasSubstr("first difference: argument " + index + ": 1 became 51"));
    expectExplained(explainDivergence(maker.session(), nullptr), Cause::ContextReplaced);
  });
}

TEST(ExplainGenerated, FindsAnswersThatAreNotAskedForAnyMore) {
  forEverySeed([](Generator& generator) {
    const std::vector<Call> always = generator.calls(1);
    const std::vector<Call> once = generator.calls(1);
    const std::string program =
        programOf(always) + "(IF (= (CAR (TRANS '(0 0) 1 0)) 0) (PROGN " + programOf(once) + "))";
    SessionMaker maker;
    client::Worker& worker = maker.worker();
    ASSERT_TRUE(worker.registerContext(contextWithOrigin(0)).has_value());
    std::size_t call_count = 0;
    const auto answer = [&](const HostCall& /*call*/) {
      if (++call_count == always.size() + 1) {
        EXPECT_TRUE(worker.registerContext(contextWithOrigin(7)).has_value());
      }
      return std::optional(client::nil());
    };
    ASSERT_EQ(worker.run(program, answer, {.context_id = 3})->end, client::RunEnd::EvalError);
    const client::WorkerStarter starter = &InProcessWorker::start;
    const auto explanation = explainDivergence(maker.session(), &starter);
    expectExplained(explanation, Cause::ContextReplaced);
    EXPECT_THAT(explanation->text, HasSubstr(once[0].function));
  });
}

TEST(ExplainGenerated, FindsChangedDefinitions) {
  forEverySeed([](Generator& generator) {
    std::vector<Call> calls = generator.calls(1);
    calls[generator.random().below(calls.size())].arguments.emplace_back("(SHAPE 2)");
    const std::string other = generator.value(1);
    const auto setup = [&](const std::string& body) {
      return std::vector<std::string>{"(SETQ UNRELATED " + other + ")",
                                      "; how a shape is made\n(DEFUN SHAPE (N) " + body + ")"};
    };
    const std::string program = programOf(calls);
    const RecordedSession recorded = hold({.setup = setup("(LIST N 1)"),
                                           .program = program,
                                           .context = contextWithOrigin(0),
                                           .answers = {}});
    const RecordedSession made = hold({.setup = setup("(LIST N 2)"),
                                       .program = program,
                                       .context = contextWithOrigin(0),
                                       .answers = {}});
    const auto explanation = explainDifference(recorded, made);
    expectExplained(explanation, Cause::DefinitionsChanged);
    EXPECT_THAT(explanation->text, HasSubstr("line 2: (DEFUN SHAPE (N) (LIST N 1)) became "
                                             "(DEFUN SHAPE (N) (LIST N 2))"));
  });
}

TEST(ExplainGenerated, FindsAnotherAnswerOfTheHost) {
  forEverySeed([](Generator& generator) {
    const std::vector<Call> calls = generator.calls(2);
    std::string program;
    for (const Call& call : calls) {
      program += "(SETQ LAST (LIST LAST " + call.text() + "))(OSNAP LAST)\n";
    }
    std::vector<Datum> answers;
    while (answers.size() < 2 * calls.size()) answers.push_back(generator.answer());
    Script script{.setup = {"(SETQ LAST NIL)"},
                  .program = program,
                  .context = contextWithOrigin(0),
                  .answers = answers};
    const RecordedSession recorded = hold(script);
    script.answers[2 * generator.random().below(calls.size())] = client::string("elsewhere");
    const auto explanation = explainDifference(recorded, hold(script));
    expectExplained(explanation, Cause::AnswerChanged);
    EXPECT_THAT(explanation->text, HasSubstr("became \"elsewhere\""));
  });
}

TEST(ExplainGenerated, FindsNaN) {
  forEverySeed([](Generator& generator) {
    std::vector<Call> calls = generator.calls(1);
    const std::size_t index = generator.random().below(calls.size());
    calls[index].arguments.emplace_back(generator.random().chance(1, 2) ? "NAN"
                                                                        : "(LIST 1 (LIST NAN))");
    SessionMaker maker;
    client::Worker& worker = maker.worker();
    const auto answer = [](const HostCall& /*call*/) { return std::optional(client::nil()); };
    const std::string setup = "(SETQ INF (* 1e200 1e200) NAN (- INF INF))\n";
    ASSERT_EQ(worker.run(setup + programOf(calls), answer)->end, client::RunEnd::EvalError);
    const client::WorkerStarter starter = &InProcessWorker::start;
    expectExplained(explainDivergence(maker.session(), &starter), Cause::NotANumber);
    expectExplained(explainDivergence(maker.session(), nullptr), Cause::NotANumber);
  });
}

TEST(ExplainGenerated, FindsAWorkerThatEnded) {
  forEverySeed([](Generator& generator) {
    const RecordedSession recorded = hold({.setup = {},
                                           .program = programOf(generator.calls(1)),
                                           .context = contextWithOrigin(0),
                                           .answers = {}});
    RecordedSession made = recorded;
    std::size_t last = 2 + generator.random().below(made.records.size() - 2);
    while (made.records[last].kind != RecordKind::Response) --last;
    made.records.resize(last + 1);
    made.records[last] = {RecordKind::Broken, 0, made.records[last].body.substr(0, 20)};
    expectExplained(explainDifference(recorded, made), Cause::WorkerEnded);
  });
}

}  // namespace
}  // namespace lisp_worker::session
