#include "console/host.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "console/command_input.h"
#include "console/commands.h"
#include "console/shape.h"
#include "lisp_worker/client/answer_text.h"

namespace lisp_worker::console {
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
    is_refused = answer.is_refused;
    return answer.text;
  }

  std::string answer(const std::string& name, const std::string& arguments) {
    return answerOf(host, name, arguments);
  }

  Drawing drawing;
  Host host{drawing, {}};
  std::string note;
  bool is_refused = false;
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

TEST_F(HostTest, RefusesWhatItCannotDoButNotWhatFindsNothing) {
  struct Row {
    const char* name;
    const char* arguments;
    bool is_refused;
  };
  const Row rows[] = {
      {"ENTMAKE", "(nil)", true},
      {"ENTMAKEX", R"((((0 "POINT") (10 (1 2)))))", false},
      {"ENTMOD", R"((((-1 "E9"))))", true},
      {"ENTMOD", R"((((-1 "E1") (8 "B"))))", false},
      {"ENTGET", R"(("E9"))", false},
      {"ENTGET", "(9)", true},
      {"SSGET", R"(("X" ((8 "NONE"))))", false},
      {"SSGET", R"(("Q"))", true},
      {"OSNAP", R"(((900 900) "cen"))", false},
      {"OSNAP", "((900 900))", true},
      {"COMMAND", R"(("ZOOM" "E"))", false},
      {"COMMAND", R"(("ZOOM" "Q"))", true},
      {"COMMAND-S", R"(("ZOOM" "E" "EXPLODE"))", true},
      {"GETPOINT", "()", false},
      {"GETINT", "()", true},
  };
  for (const Row& row : rows) {
    answer(row.name, row.arguments);
    EXPECT_EQ(is_refused, row.is_refused) << row.name << " " << row.arguments << ": " << note;
  }
}

TEST_F(HostTest, RefusesWithNilAndAReason) {
  EXPECT_EQ(answer("ENTMAKE", "(nil)"), "nil");
  EXPECT_EQ(note, "not made: an entity is a list of groups");
  EXPECT_EQ(answer("ENTMAKE", "()"), "nil");
  EXPECT_EQ(answer("ENTMAKEX", R"((((0 "SPHERE"))))"), "nil");
  EXPECT_EQ(note, "not made: unknown type: SPHERE");
  EXPECT_EQ(answer("ENTMOD", "()"), "nil");
  EXPECT_EQ(note, "not changed: an entity is a list of groups");
  EXPECT_EQ(answer("SSGET", R"(("Q"))"), "nil");
  EXPECT_EQ(note, "nothing selected: no way of selecting: Q; there are X, A, W, C, L and P");
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
  EXPECT_EQ(answer("OSNAP", R"(((55 25 0) "_qua,mid"))"), "(55 25 0)");
  EXPECT_EQ(answer("OSNAP", R"(((47 24 0) "per"))"), "nil");
  EXPECT_TRUE(is_refused);
  EXPECT_EQ(answer("OSNAP", "((47 24 0))"), "nil");
  EXPECT_EQ(answer("OSNAP", "()"), "nil");
}

TEST_F(HostTest, RunsCommandsAndAnswersNil) {
  EXPECT_EQ(answer("COMMAND", R"(("POINT" (1 2) ""))"), "nil");
  EXPECT_EQ(note, "added E1");
  EXPECT_EQ(answer("COMMAND-S", R"(("ERASE" "E1" ""))"), "nil");
  EXPECT_EQ(note, "erased E1");
}

TEST_F(HostTest, AnswersNilToWhatItCannotRead) {
  EXPECT_EQ(answer("GETPOINT", R"(("a" b"))"), "nil");
  EXPECT_EQ(note,
            "the arguments cannot be read: a text among them holds a double quote, and it could "
            "end there; write two apostrophes for inches, 3/4'', in (\"a\" b\")");
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
    return runCommand(drawing, *client::asList(*list)).text;
  }

  [[nodiscard]] std::string describe(std::string_view handle) const {
    const Entity* const entity = drawing.find(handle);
    return entity == nullptr ? "none" : describeEntity(*entity);
  }

  Drawing drawing;
};

TEST_F(CommandsTest, DrawLinesFromPointToPoint) {
  EXPECT_EQ(run(R"(("LINE" (0 0) (10 0) (10 5) ""))"), "added E1 E2");
  EXPECT_EQ(describe("E1"), "E1 LINE on layer 0: from (0 0 0), to (10 0 0)");
  EXPECT_EQ(describe("E2"), "E2 LINE on layer 0: from (10 0 0), to (10 5 0)");
  EXPECT_EQ(run(R"(("line" (0 0) (5 0) (5 5) "c"))"), "added E3 E4 E5");
  EXPECT_EQ(describe("E5"), "E5 LINE on layer 0: from (5 5 0), to (0 0 0)");
  EXPECT_EQ(run(R"(("line" (0 0)))"), "nothing done: LINE: needs another point");
}

TEST_F(CommandsTest, TakePointsAsAPersonTypesThem) {
  run(R"(("LINE" "10,20" "@5,0" "@10<90" (1 2 3) ""))");
  EXPECT_EQ(describe("E1"), "E1 LINE on layer 0: from (10 20 0), to (15 20 0)");
  EXPECT_EQ(describe("E2"), "E2 LINE on layer 0: from (15 20 0), to (15 30 0)");
  EXPECT_EQ(describe("E3"), "E3 LINE on layer 0: from (15 30 0), to (1 2 3)");
  for (const char* const text :
       {"", "1", "1,", ",1", "1,2,3,4", "@", "5<", "<5", "a,b", "1e999,0"}) {
    EXPECT_EQ(readTypedPoint(text, {}), std::nullopt) << text;
  }
}

TEST_F(CommandsTest, AddAllOrNothing) {
  EXPECT_EQ(run(R"(("LINE" (0 0) (10 0) X))"), "nothing done: LINE: needs another point, not X");
  EXPECT_TRUE(drawing.entities().empty());
  EXPECT_EQ(run(R"(("LINE" (0 0) (10 0)))"), "added E1");
}

TEST_F(CommandsTest, DrawCircles) {
  struct Row {
    const char* command;
    const char* circle;
  };
  const Row rows[] = {
      {R"(("circle" (1 2) 5))", "centre (1 2 0), radius 5"},
      {R"(("_.circle" (1 2) 4))", "centre (1 2 0), radius 4"},
      {R"(("CIRCLE" (1 2) "D" 5))", "centre (1 2 0), radius 2.5"},
      {R"(("CIRCLE" (1 2) (4 6)))", "centre (1 2 0), radius 5"},
      {R"(("CIRCLE" "2P" (0 0) (6 8)))", "centre (3 4 0), radius 5"},
      {R"(("CIRCLE" "3P" (5 0) (0 5) (-5 0)))", "centre (0 0 0), radius 5"},
  };
  int number = 0;
  for (const Row& row : rows) {
    const std::string handle = "E" + std::to_string(++number);
    EXPECT_EQ(run(row.command), "added " + handle);
    EXPECT_EQ(describe(handle), handle + " CIRCLE on layer 0: " + row.circle);
  }
  EXPECT_EQ(run(R"(("CIRCLE" (0 0)))"), "nothing done: CIRCLE: needs a radius");
  EXPECT_EQ(run(R"(("CIRCLE" (0 0) -5))"), "nothing done: CIRCLE: group 40 needs a number above 0");
  EXPECT_EQ(run(R"(("CIRCLE" "3P" (0 0) (1 1) (2 2)))"),
            "nothing done: CIRCLE: three points on a line make no circle");
}

TEST_F(CommandsTest, DrawArcsPolylinesPointsAndTexts) {
  run(R"(("ARC" (5 0) (0 5) (-5 0)))");
  EXPECT_EQ(describe("E1"),
            "E1 ARC on layer 0: centre (0 0 0), radius 5, from angle 0, to angle 3.141593");
  run(R"(("ARC" (-5 0) (0 5) (5 0)))");  // The same, drawn with the clock.
  EXPECT_EQ(describe("E2"),
            "E2 ARC on layer 0: centre (0 0 0), radius 5, from angle 0, to angle 3.141593");
  run(R"(("ARC" "C" (0 0) (0 2) (-2 0)))");
  EXPECT_EQ(describe("E3"),
            "E3 ARC on layer 0: centre (0 0 0), radius 2, from angle 1.570796, to "
            "angle 3.141593");
  run(R"(("PLINE" (0 0) (4 0) (4 3) "C" "TEXT" "J" "C" (2 1) 2.5 90 "A 1" "POINT" (7 7) (8 8) ""))");
  EXPECT_EQ(describe("E4"), "E4 POLYLINE on layer 0: closed, through (0 0 0) (4 0 0) (4 3 0)");
  EXPECT_EQ(describe("E5"), "E5 TEXT on layer 0: at (2 1 0), height 2.5, text \"A 1\"");
  EXPECT_EQ(findNumberGroup(drawing.find("E5")->groups, kAlignmentGroup, 0), 1);
  EXPECT_NEAR(findNumberGroup(drawing.find("E5")->groups, kStartAngleGroup, 0), kPi / 2, 1e-12);
  EXPECT_EQ(describe("E7"), "E7 POINT on layer 0: at (8 8 0)");
  EXPECT_EQ(run(R"(("POINT"))"), "nothing done: POINT: needs a point");
  EXPECT_EQ(run(R"(("TEXT" (0 0) 2 0 nil))"), "nothing done: TEXT: needs a text, not nil");
}

TEST_F(CommandsTest, DrawArcsInPolylines) {
  run(R"(("PLINE" (0 0) (10 0) "A" (10 4) "L" (0 4) "A" "C"))");  // A slot.
  EXPECT_EQ(describe("E1"),
            "E1 POLYLINE on layer 0: closed, through (0 0 0) (10 0 0) bulge 1 (10 4 0) (0 4 0) "
            "bulge 1");
  run(R"(("PLINE" (0 0) "A" "S" (5 -5) (10 0) (20 0) ""))");
  EXPECT_EQ(describe("E2"),
            "E2 POLYLINE on layer 0: through (0 0 0) bulge 1 (10 0 0) bulge -1 (20 0 0)");
  EXPECT_EQ(run(R"(("PLINE" (0 0) (1 0) "A" (0 0) ""))"),
            "nothing done: PLINE: no arc leads straight back; give a point on it with S");
  EXPECT_EQ(run(R"(("PLINE" (0 0) "A" "S" (1 0) (2 0) ""))"),
            "nothing done: PLINE: three points on a line make no arc");
  EXPECT_EQ(run(R"(("PLINE" (0 0) "A" "S" 5))"),
            "nothing done: PLINE: needs a point on the arc, not 5");
}

TEST_F(CommandsTest, FillWhatIsClosed) {
  run(R"(("CIRCLE" (0 0) 5 "PLINE" (-9 -9) (9 -9) (9 9) "C" "LINE" (0 0) (1 1) ""))");
  EXPECT_EQ(run(R"(("HATCH" "SOLID" "E1" ""))"), "added E4");
  EXPECT_EQ(describe("E4"), "E4 HATCH on layer 0: SOLID, inside (5 0 0) bulge 1 (-5 0 0) bulge 1");
  EXPECT_EQ(run(R"(("HATCH" "net" 2 30 "E1" "E2" ""))"), "added E5");
  EXPECT_EQ(describe("E5"),
            "E5 HATCH on layer 0: NET, inside (5 0 0) bulge 1 (-5 0 0) bulge 1 and (-9 -9 0) "
            "(9 -9 0) (9 9 0)");
  EXPECT_NEAR(findNumberGroup(drawing.find("E5")->groups, kPatternAngleGroup, 0), kPi / 6, 1e-12);
  EXPECT_EQ(findNumberGroup(drawing.find("E5")->groups, kPatternDistanceGroup, 0), 2);
  EXPECT_EQ(run(R"(("HATCH" "SOLID" "E3" ""))"),
            "nothing done: HATCH: E3 encloses nothing: it needs circles and closed polylines");
  EXPECT_EQ(run(R"(("HATCH" "DOTS" "E1" ""))"),
            R"(nothing done: HATCH: needs SOLID, LINE or NET, not "DOTS")");
  EXPECT_EQ(run(R"(("HATCH" "LINE" "E1" ""))"),
            "nothing done: HATCH: needs a distance of its lines, in millimetres of paper, not "
            "\"E1\"");
}

TEST_F(CommandsTest, GiveLayersLineTypesAndWeights) {
  EXPECT_EQ(run(R"(("LAYER" "M" "AXES" "L" "center" "AXES" "LW" 0.13 "AXES,0" ""))"),
            "the current layer is AXES, line type CENTER for AXES, line weight 0.13 for AXES,0");
  EXPECT_EQ(drawing.findLayer("AXES")->line_type, "CENTER");
  EXPECT_EQ(drawing.findLayer("0")->line_weight, 13);
  EXPECT_EQ(run(R"(("LAYER" "L" "FENCE" "AXES" ""))"),
            "nothing done: LAYER: needs a line type: CONTINUOUS DASHED HIDDEN CENTER CENTRE "
            "DASHDOT DIVIDE PHANTOM DOT, not \"FENCE\"");
  EXPECT_EQ(run(R"(("LAYER" "LW" 25 "AXES" ""))"),
            "nothing done: LAYER: needs a line weight from 0 to 2.11 millimetres");
  run(R"(("LINE" (0 0) (9 9) ""))");
  const Entity& line = *drawing.find("E1");
  EXPECT_EQ(drawing.dashesFor(line), *dashesOf("CENTER"));
  EXPECT_EQ(drawing.lineWidthOf(line), 0.13);
}

TEST_F(CommandsTest, MoveCopyRotateScaleAndMirror) {
  run(R"(("LINE" (0 0) (10 0) "" "CIRCLE" (5 5) 2))");
  EXPECT_EQ(run(R"(("MOVE" "E1" "" (0 0) (1 2)))"), "moved E1");
  EXPECT_EQ(describe("E1"), "E1 LINE on layer 0: from (1 2 0), to (11 2 0)");
  EXPECT_EQ(run(R"(("COPY" ($KVSEL "E1") "" (0 0) (0 1) (0 2) ""))"), "added copies E3 E4");
  EXPECT_EQ(describe("E4"), "E4 LINE on layer 0: from (1 4 0), to (11 4 0)");
  EXPECT_EQ(run(R"(("ROTATE" "E1" "" (1 2) 90))"), "rotated E1");
  EXPECT_EQ(describe("E1"), "E1 LINE on layer 0: from (1 2 0), to (1 12 0)");
  EXPECT_EQ(run(R"(("SCALE" "E2" "" (5 5) 3))"), "scaled E2");
  EXPECT_EQ(describe("E2"), "E2 CIRCLE on layer 0: centre (5 5 0), radius 6");
  EXPECT_EQ(run(R"(("MIRROR" "E1" "" (0 0) (0 1) "Y"))"), "mirrored E1");
  EXPECT_EQ(describe("E1"), "E1 LINE on layer 0: from (-1 2 0), to (-1 12 0)");
  EXPECT_EQ(run(R"(("MIRROR" "E2" "" (0 0) (1 0) "N"))"), "added mirrored E5");
  EXPECT_EQ(describe("E5"), "E5 CIRCLE on layer 0: centre (5 -5 0), radius 6");
  EXPECT_EQ(run(R"(("SCALE" "E2" "" (5 5) 0))"), "nothing done: SCALE: needs a factor above 0");
  EXPECT_EQ(run(R"(("MIRROR" "E2" "" (5 5) (5 5)))"),
            "nothing done: MIRROR: two equal points make no mirror line");
}

TEST_F(CommandsTest, MirrorAndRotateArcs) {
  run(R"(("ARC" "C" (0 0) (2 0) (0 2)))");
  run(R"(("MIRROR" "L" "" (0 0) (0 1)))");
  EXPECT_EQ(describe("E2"),
            "E2 ARC on layer 0: centre (0 0 0), radius 2, from angle 1.570796, to "
            "angle 3.141593");
  run(R"(("ROTATE" "E1" "" (0 0) 180))");
  EXPECT_EQ(describe("E1"),
            "E1 ARC on layer 0: centre (0 0 0), radius 2, from angle 3.141593, to "
            "angle 4.712389");
}

TEST_F(CommandsTest, MoveNothingBeyondAllNumbers) {
  run(R"(("POINT" (1 1) (1e308 1) ""))");
  const std::string before = describe("E1") + describe("E2");
  EXPECT_EQ(run(R"(("SCALE" "ALL" "" (0 0) 1e300))"),
            "nothing done: SCALE: makes no entity of E2: group 10 needs a point");
  EXPECT_EQ(run(R"(("MOVE" "ALL" "" (0 0) (1e308 0)))"),
            "nothing done: MOVE: makes no entity of E2: group 10 needs a point");
  EXPECT_EQ(describe("E1") + describe("E2"), before);
}

TEST_F(CommandsTest, SelectByHandleSetWordAndWindow) {
  run(R"(("POINT" (1 1) (2 2) (3 3) (4 4) ""))");
  EXPECT_EQ(run(R"(("MOVE" "W" (0 0) (2.5 2.5) "" (0 0) (0 0)))"), "moved E1 E2");
  EXPECT_EQ(run(R"(("MOVE" "P" "" (0 0) (0 0)))"), "moved E1 E2");
  EXPECT_EQ(run(R"(("ERASE" "L" ""))"), "erased E4");
  EXPECT_EQ(run(R"(("ERASE" "ALL" ""))"), "erased E1 E2 E3");
  EXPECT_EQ(run(R"(("ERASE" nil ""))"), "nothing done: ERASE: nothing is selected");
  EXPECT_EQ(run(R"(("ERASE" "E9" ""))"), "nothing done: ERASE: there is no entity E9");
  run(R"(("LINE" (0 0) (10 10) ""))");
  EXPECT_EQ(run(R"(("MOVE" "W" (4 4) (6 6) "" (0 0) (0 0)))"),
            "nothing done: MOVE: nothing is selected");
  EXPECT_EQ(run(R"(("MOVE" "C" (4 4) (6 6) "" (0 0) (0 0)))"), "moved E5");
}

TEST_F(CommandsTest, KeepLayers) {
  EXPECT_EQ(run(R"(("LAYER" "M" "WALLS" "C" "red" "WALLS" "N" "A,B" "OFF" "B" ""))"),
            "the current layer is WALLS, colour 1 for WALLS, layer A,B, B off");
  run(R"(("POINT" (1 1)))");
  EXPECT_EQ(describe("E1"), "E1 POINT on layer WALLS: at (1 1 0)");
  EXPECT_EQ(drawing.findLayer("WALLS")->colour, 1);
  EXPECT_FALSE(drawing.findLayer("B")->is_visible);
  EXPECT_EQ(run(R"(("LAYER" "S" ""))"), "nothing done: LAYER: needs a name");
  EXPECT_EQ(run(R"(("LAYER" "C" "mauve" "A"))"),
            "nothing done: LAYER: needs a colour, 1 to 255 or a name such as red, not \"mauve\"");
  run(R"(("LAYER" "OFF" "WALLS" ""))");
  EXPECT_EQ(run(R"(("ERASE" "ALL" ""))"), "nothing done: ERASE: nothing is selected");
}

TEST_F(CommandsTest, SetTheView) {
  EXPECT_EQ(run(R"(("ZOOM" "W" (0 0) (10 5)))"), "the view is set");
  ASSERT_TRUE(drawing.view().has_value());
  EXPECT_EQ(drawing.view()->right, 10);
  EXPECT_EQ(run(R"(("ZOOM" "C" (5 5) 4))"), "the view is set");
  EXPECT_EQ(drawing.view()->left, 3);
  EXPECT_EQ(run(R"(("ZOOM" "E"))"), "the view is the whole drawing");
  EXPECT_FALSE(drawing.view().has_value());
  EXPECT_EQ(run(R"(("ZOOM" "W" (0 0) (0 5)))"),
            "nothing done: ZOOM: needs a view that is not empty");
  EXPECT_EQ(run(R"(("ZOOM" "Q"))"), "nothing done: ZOOM: needs E, A, W or C, not \"Q\"");
}

TEST_F(CommandsTest, RunSeveralAndStopAtTheFirstThatFails) {
  EXPECT_EQ(run(R"(("POINT" (1 1) "" "LINE" (0 0) "" "POINT" (2 2)))"),
            "added E1; then nothing: LINE: needs another point, not \"\"");
  EXPECT_EQ(drawing.entities().size(), 1u);
}

TEST_F(CommandsTest, SayWhatTheyDoNotKnow) {
  EXPECT_EQ(
      run(R"(("EXPLODE" "E1"))"),
      "nothing done: there is no command EXPLODE: this host knows LINE PLINE CIRCLE ARC POINT "
      "TEXT HATCH MOVE COPY ROTATE SCALE MIRROR ERASE LAYER ZOOM");
  EXPECT_THAT(run(R"(("_.Explode"))"),
              testing::StartsWith("nothing done: there is no command _.EXPLODE: "));
  EXPECT_THAT(run(R"(("_."))"), testing::StartsWith("nothing done: there is no command _.: "));
  EXPECT_EQ(run("()"), "nothing done: no command");
  EXPECT_EQ(run(R"((""))"), "nothing done: no command");
  EXPECT_EQ(run("(5)"), "nothing done: COMMAND: needs the name of a command, not 5");
}

TEST_F(CommandsTest, TakeNoMoreThanTheyNeed) {
  EXPECT_EQ(run(R"(("CIRCLE" (0 0) 5 7))"),
            "added E1; then nothing: CIRCLE: takes no more, and 7 names no command");
  EXPECT_THAT(run(R"(("CIRCLE" (0 0) 5 "R"))"),
              testing::StartsWith("added E2; then nothing: CIRCLE takes no more, and there is no "
                                  "command R: this host knows"));
  EXPECT_THAT(run(R"(("CIRCEL" (0 0) 5))"),
              testing::StartsWith("nothing done: there is no command CIRCEL: did you mean CIRCLE? "
                                  "this host knows LINE"));
}

TEST_F(CommandsTest, TakeNumbersAsTexts) {
  run(R"(("TEXT" (0 0) 5 0 12))");
  run(R"(("TEXT" (0 9) 5 0 33.333333333333336))");
  run(R"(("TEXT" (0 18) 5 0 -0.1))");
  EXPECT_THAT(describe("E1"), testing::HasSubstr("text \"12\""));
  EXPECT_THAT(describe("E2"), testing::HasSubstr("text \"33.333333\""));
  EXPECT_THAT(describe("E3"), testing::HasSubstr("text \"-0.1\""));
  EXPECT_EQ(run(R"(("TEXT" (0 0) 5 0 (1 2)))"), "nothing done: TEXT: needs a text, not (1 2)");
}

TEST_F(CommandsTest, SayThatQuotedNamesAreNotTheirValues) {
  EXPECT_EQ(run(R"(("LINE" (0 0) (W 5) ""))"),
            "nothing done: LINE: needs another point, not (W 5); in '(...) names are not their "
            "values: write (LIST ...)");
}

TEST_F(CommandsTest, TellTheWayToWhatOthersHave) {
  EXPECT_THAT(run(R"(("-rectang" (0 0) (5 5)))"),
              testing::StartsWith("nothing done: there is no command -RECTANG: PLINE with four "
                                  "corners and \"C\" draws a rectangle; this host knows LINE"));
  EXPECT_EQ(run(R"(("-layer" "m" "A" ""))"), "the current layer is A");
}

TEST_F(CommandsTest, KnowTheirOptionsInFull) {
  EXPECT_EQ(run(R"(("LAYER" "Make" "A" "Color" 3 "A" "LWeight" 0.5 "A" ""))"),
            "the current layer is A, colour 3 for A, line weight 0.5 for A");
  EXPECT_EQ(run(R"(("LINE" (0 0) (5 0) (5 5) "close"))"), "added E1 E2 E3");
  EXPECT_EQ(run(R"(("CIRCLE" (0 0) "Diameter" 5))"), "added E4");
  EXPECT_EQ(run(R"(("ERASE" "Last" ""))"), "erased E4");
  EXPECT_EQ(run(R"(("ERASE" "Window" (-1 -1) (6 6) ""))"), "erased E1 E2 E3");
}

TEST_F(CommandsTest, RefuseUnknownOptionsOfLayer) {
  EXPECT_EQ(
      run(R"(("LAYER" "FREEZE" "A" ""))"),
      "nothing done: LAYER: needs M, S or N and a name, C, L or LW and a look, ON or OFF, not "
      "\"FREEZE\"");
  EXPECT_EQ(run(R"(("LAYER"))"),
            "nothing done: LAYER: needs M, S or N and a name, C, L or LW and a look, ON or OFF");
  EXPECT_EQ(drawing.currentLayer(), "0");
}

class AnswerListTest : public HostTest {
 protected:
  AnswerList list{"picks.txt", {{"GETPOINT", "(7 8 0)"}, {"SSGET", "($KVSEL \"E9\")"}}};
  Host host{drawing, {{"GETPOINT", "(1 1 0)"}}, &list};
};

TEST_F(AnswerListTest, AnswersAfterTheScriptAndBeforeTheDrawing) {
  EXPECT_EQ(answerOf(host, "GETPOINT", "()"), "(1 1 0)");
  EXPECT_EQ(answerOf(host, "GETPOINT", "()"), "(7 8 0)");
  EXPECT_EQ(note, "from picks.txt");
  EXPECT_EQ(answerOf(host, "SSGET", "()"), "($KVSEL \"E9\")");
  EXPECT_EQ(answerOf(host, "SSGET", "()"), "nil");
}

TEST_F(AnswerListTest, HandsOnWhatItHasNoAnswerFor) {
  AnswerList first("first.txt", {{"GETPOINT", "(1 1 0)"}}, &list);
  Host asking(drawing, {}, &first);
  EXPECT_EQ(answerOf(asking, "GETPOINT", "()"), "(1 1 0)");
  EXPECT_EQ(answerOf(asking, "GETPOINT", "()"), "(7 8 0)");
  EXPECT_EQ(note, "from picks.txt");
}

TEST_F(AnswerListTest, FailsWhenItRunsOut) {
  client::EvalResult waiting;
  waiting.eval_status = client::EvalStatus::HostCallRequired;
  waiting.call_name = "GETDIST";
  waiting.text = "()";
  EXPECT_EQ(host.answer(waiting).failure,
            "picks.txt: no answer is left for GETDIST; add a line such as GETDIST 10");
}

}  // namespace
}  // namespace lisp_worker::console
