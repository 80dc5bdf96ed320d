#include "console/host.h"

#include <gtest/gtest.h>

#include <limits>

#include "client/answer_text.h"
#include "console/commands.h"

namespace console {
namespace {

class HostTest : public testing::Test {
 protected:
  // The answer to a call with these arguments, written as the worker writes them.
  std::string answerOf(Host& asked, const std::string& name, const std::string& arguments) {
    client::EvalResult waiting;
    waiting.status = worker::WorkerStatus::HostCallPending;
    waiting.eval_status = client::EvalStatus::HostCallRequired;
    waiting.call_name = name;
    waiting.run_id = 1;
    waiting.text = arguments;
    const auto list = client::readDatum(arguments, nullptr);
    if (list) waiting.arg_count = static_cast<std::uint16_t>(client::asList(*list)->size());
    HostAnswer answer = asked.answer(waiting);
    note = std::move(answer.note);
    return answer.text;
  }

  std::string answer(const std::string& name, const std::string& arguments) {
    return answerOf(host, name, arguments);
  }

  Drawing drawing;
  Host host{drawing, {}};
  std::string note;
};

TEST_F(HostTest, PicksByRule) {
  EXPECT_EQ(answer("GETPOINT", R"(("Where? "))"), "(0 0 0)");
  EXPECT_EQ(note, "picked by rule");
  EXPECT_EQ(answer("GETPOINT", "()"), "(100 50 0)");
  EXPECT_EQ(answer("GETPOINT", "()"), "(200 100 0)");
  EXPECT_EQ(answer("GETCORNER", R"(((10 20) "Corner: "))"), "(110 70 0)");
  EXPECT_EQ(answer("GETCORNER", "()"), "(100 50 0)");
  EXPECT_EQ(answer("GETDIST", "()"), "10");
}

TEST_F(HostTest, TakesScriptedAnswersFirstAndInOrder) {
  Host scripted(drawing, {{"GETPOINT", "(1 2 3)"}, {"GETDIST", "(("}, {"GETPOINT", "nil"}});
  EXPECT_EQ(answerOf(scripted, "GETDIST", "()"), "((");
  EXPECT_EQ(note, "from the program's script");
  EXPECT_EQ(answerOf(scripted, "GETPOINT", "()"), "(1 2 3)");
  ASSERT_EQ(scripted.unusedAnswers().size(), 1u);
  EXPECT_EQ(scripted.unusedAnswers()[0], (ScriptedAnswer{"GETPOINT", "nil"}));
  EXPECT_EQ(answerOf(scripted, "GETPOINT", "()"), "nil");
  EXPECT_EQ(answerOf(scripted, "GETPOINT", "()"), "(0 0 0)");
  EXPECT_TRUE(scripted.unusedAnswers().empty());
}

TEST_F(HostTest, DoesNotTouchTheDrawingForAScriptedAnswer) {
  Host scripted(drawing, {{"ENTMAKE", "T"}});
  EXPECT_EQ(answerOf(scripted, "ENTMAKE", R"((((0 "POINT") (10 (1 2)))))"), "T");
  EXPECT_TRUE(drawing.entities().empty());
}

TEST_F(HostTest, MakesAndFetchesEntities) {
  EXPECT_EQ(answer("ENTMAKE", R"((((0 "POINT") (8 "A") (10 (1 2)))))"),
            R"(((0 "POINT") (8 "A") (10 (1 2))))");
  EXPECT_EQ(note, "added E1");
  EXPECT_EQ(answer("ENTMAKEX", R"((((0 "POINT") (8 "A") (10 (3 4)))))"), R"("E2")");
  EXPECT_EQ(note, "added E2");
  EXPECT_EQ(answer("ENTGET", R"(("E2"))"), R"(((-1 "E2") (0 "POINT") (8 "A") (10 (3 4))))");
  EXPECT_EQ(answer("ENTGET", R"(("E3"))"), "nil");
  EXPECT_EQ(note, "no such entity");
  EXPECT_EQ(answer("ENTGET", "()"), "nil");
  EXPECT_EQ(answer("ENTGET", "(5)"), "nil");
}

TEST_F(HostTest, RefusesWithNilAndAReason) {
  EXPECT_EQ(answer("ENTMAKE", "(nil)"), "nil");
  EXPECT_EQ(note, "not made: an entity is a list of groups");
  EXPECT_EQ(answer("ENTMAKE", "()"), "nil");
  EXPECT_EQ(answer("ENTMAKEX", R"((((0 "SPHERE"))))"), "nil");
  EXPECT_EQ(note, "not made: unknown type: SPHERE");
  EXPECT_EQ(answer("ENTMOD", "()"), "nil");
  EXPECT_EQ(note, "not changed: an entity is a list of groups");
  EXPECT_EQ(answer("SSGET", R"(("W"))"), "nil");
  EXPECT_EQ(note, "nothing selected: no way of selecting: W");
}

TEST_F(HostTest, ModifiesAndSelectsEntities) {
  EXPECT_EQ(answer("SSGET", "()"), "nil");
  EXPECT_EQ(note, "0 selected");
  answer("ENTMAKE", R"((((0 "POINT") (8 "A") (10 (1 2)))))");
  answer("ENTMAKE", R"((((0 "POINT") (8 "A") (10 (1 2)))))");
  EXPECT_EQ(answer("ENTMOD", R"((((-1 "E2") (0 "POINT") (8 "B") (10 (1 2)))))"),
            R"(((-1 "E2") (0 "POINT") (8 "B") (10 (1 2))))");
  EXPECT_EQ(note, "changed E2");
  EXPECT_EQ(answer("SSGET", R"(("X" ((8 "B"))))"), R"(($KVSEL "E2"))");
  EXPECT_EQ(note, "1 selected");
  EXPECT_EQ(answer("SSGET", "()"), R"(($KVSEL "E1" "E2"))");
}

TEST_F(HostTest, HandsBackWhatItWasGivenUnescaped) {
  // On its way here nothing in a string is escaped, on its way back a backslash is.
  answer("ENTMAKE", R"((((0 "TEXT") (8 "A") (10 (1 2)) (40 1) (1 "C:\temp"))))");
  EXPECT_EQ(answer("ENTGET", R"(("E1"))"),
            R"(((-1 "E1") (0 "TEXT") (8 "A") (10 (1 2)) (40 1) (1 "C:\\temp")))");
}

TEST_F(HostTest, Snaps) {
  answer("ENTMAKE", R"((((0 "CIRCLE") (8 "A") (10 (50 25 0)) (40 5))))");
  EXPECT_EQ(answer("OSNAP", R"(((47 24 0) "cen"))"), "(50 25 0)");
  EXPECT_EQ(answer("OSNAP", R"(((47 24 0) "end"))"), "nil");
  EXPECT_EQ(note, "nothing to snap to");
  EXPECT_EQ(answer("OSNAP", "((47 24 0))"), "nil");
  EXPECT_EQ(answer("OSNAP", "()"), "nil");
}

TEST_F(HostTest, RunsCommandsAndAnswersNil) {
  EXPECT_EQ(answer("COMMAND", R"(("POINT" (1 2) ""))"), "nil");
  EXPECT_EQ(note, "added E1");
  EXPECT_EQ(answer("COMMAND-S", R"(("ERASE" "E1"))"), "nil");
  EXPECT_EQ(note, "erased E1");
}

TEST_F(HostTest, AnswersNilToWhatItCannotRead) {
  EXPECT_EQ(answer("GETPOINT", R"(("a" b"))"), "nil");
  EXPECT_EQ(note, "the arguments cannot be read: no space after the value at byte 5");
  EXPECT_EQ(answer("GETINT", "()"), "nil");
  EXPECT_EQ(note, "this host knows no such call");
}

TEST_F(HostTest, AnswersEveryHostCall) {
  for (const char* const name : {"GETPOINT", "GETCORNER", "GETDIST", "SSGET", "ENTGET", "ENTMOD",
                                 "ENTMAKE", "ENTMAKEX", "COMMAND", "COMMAND-S", "OSNAP"}) {
    answer(name, "()");
    EXPECT_NE(note, "this host knows no such call") << name;
  }
}

TEST_F(HostTest, AnswersNilWhereNoTextStandsForTheAnswer) {
  EXPECT_EQ(answer("GETCORNER", "((1e308 1e308))"), "(1e+308 1e+308 0)");
  EXPECT_EQ(answer("GETCORNER", "((1e999 0))"), "(100 50 0)");  // No point: 1E999 is a symbol.
}

class CommandsTest : public testing::Test {
 protected:
  std::string run(std::string_view arguments) {
    const auto list = client::readDatum(arguments, nullptr);
    return runCommand(drawing, *client::asList(*list));
  }

  [[nodiscard]] std::string describe(std::string_view handle) const {
    const Entity* const entity = drawing.find(handle);
    return entity == nullptr ? "none" : describeEntity(*entity);
  }

  Drawing drawing;
};

TEST_F(CommandsTest, DrawLinesFromPointToPoint) {
  EXPECT_EQ(run(R"(("LINE" (0 0) (10 0) (10 5) ""))"), "added E1 E2");
  EXPECT_EQ(describe("E1"), "E1 LINE on layer 0: from (0 0), to (10 0)");
  EXPECT_EQ(describe("E2"), "E2 LINE on layer 0: from (10 0), to (10 5)");
  EXPECT_EQ(run(R"(("line" (0 0)))"), "nothing done: a line needs two points");
}

TEST_F(CommandsTest, AddAllOrNothing) {
  EXPECT_EQ(run(R"(("LINE" (0 0) (10 0) X))"), "nothing done: group 11 needs a point");
  EXPECT_TRUE(drawing.entities().empty());
  EXPECT_EQ(run(R"(("LINE" (0 0) (10 0)))"), "added E1");
}

TEST_F(CommandsTest, DrawCirclesAndPoints) {
  EXPECT_EQ(run(R"(("circle" (0 0) 5))"), "added E1");
  EXPECT_EQ(describe("E1"), "E1 CIRCLE on layer 0: centre (0 0), radius 5");
  EXPECT_EQ(run(R"(("CIRCLE" (0 0)))"), "nothing done: a circle needs a centre and a radius");
  EXPECT_EQ(run(R"(("CIRCLE" (0 0) -5))"), "nothing done: group 40 needs a number above 0");
  EXPECT_EQ(run(R"(("POINT" (1 1) (2 2)))"), "added E2 E3");
  EXPECT_EQ(run(R"(("POINT"))"), "nothing done: no point");
}

TEST_F(CommandsTest, SetTheCurrentLayer) {
  EXPECT_EQ(run(R"(("LAYER" "M" "WALLS" ""))"), "the current layer is WALLS");
  run(R"(("POINT" (1 1)))");
  EXPECT_EQ(describe("E1"), "E1 POINT on layer WALLS: at (1 1)");
  EXPECT_EQ(run(R"(("LAYER" ""))"), "nothing done: a layer needs a name");
}

TEST_F(CommandsTest, EraseHandlesAndSelectionSets) {
  run(R"(("POINT" (1 1) (2 2) (3 3) (4 4)))");
  EXPECT_EQ(run(R"(("ERASE" "E1" ($KVSEL "E3" "E4") ""))"), "erased E1 E3 E4");
  EXPECT_EQ(drawing.entities().size(), 1u);
  EXPECT_EQ(run(R"(("ERASE" "E1" ()))"), "nothing done: nothing to erase");
}

TEST_F(CommandsTest, SayWhatTheyDoNotKnow) {
  EXPECT_EQ(run(R"(("EXPLODE" "E1"))"), "nothing done: unknown command EXPLODE");
  EXPECT_EQ(run("()"), "nothing done: no command");
  EXPECT_EQ(run(R"((""))"), "nothing done: no command");
  EXPECT_EQ(run("(5)"), "nothing done: no command");
}

}  // namespace
}  // namespace console
