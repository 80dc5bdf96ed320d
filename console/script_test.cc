#include "console/script.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "lisp_worker/client/answer_text.h"

namespace lisp_worker::console {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

Script scriptOf(std::string_view program) {
  std::string error;
  const auto script = readScript(program, error);
  EXPECT_TRUE(script.has_value()) << error;
  return script.value_or(Script());
}

std::string errorOf(std::string_view program) {
  std::string error;
  return readScript(program, error) ? "was read" : error;
}

TEST(Script, IsEmptyForAProgramWithoutOne) {
  const Script script = scriptOf("; answer GETPOINT (1 2)\n(GETPOINT) ;@ answer GETPOINT 1\n");
  EXPECT_THAT(script.answers, IsEmpty());
  EXPECT_THAT(script.entities, IsEmpty());
  EXPECT_THAT(script.system_changes, IsEmpty());
  EXPECT_FALSE(script.expectation.has_value());
}

TEST(Script, KeepsAnswersAsTheyStand) {
  const Script script = scriptOf(
      ";@ answer GETPOINT (1 2  3)\r\n"
      "  ;@   answer   COMMAND-S\tnil  \n"
      ";@answer GETPOINT (unfinished \"; and odd");
  EXPECT_THAT(
      script.answers,
      ElementsAre(ScriptedAnswer{"GETPOINT", "(1 2  3)", 1}, ScriptedAnswer{"COMMAND-S", "nil", 2},
                  ScriptedAnswer{"GETPOINT", "(unfinished \"; and odd", 3}));
  EXPECT_THAT(scriptOf(";@ answer GETPOINT").answers,
              ElementsAre(ScriptedAnswer{"GETPOINT", "", 1}));
}

TEST(Script, KnowsTheElevenHostCalls) {
  for (const char* const name : {"GETPOINT", "GETCORNER", "GETDIST", "SSGET", "ENTGET", "ENTMOD",
                                 "ENTMAKE", "ENTMAKEX", "COMMAND", "COMMAND-S", "OSNAP"}) {
    EXPECT_TRUE(isHostCall(name)) << name;
  }
  for (const char* const name : {"", "getpoint", "GETPOINTS", "SSLENGTH", "SSNAME", "PRINC"}) {
    EXPECT_FALSE(isHostCall(name)) << name;
  }
}

TEST(Script, ReadsEntities) {
  const Script script = scriptOf(";@ entity ((0 \"POINT\") (10 (1 2 3)))\n;@ entity nil");
  ASSERT_EQ(script.entities.size(), 2u);
  EXPECT_EQ(client::printDatum(script.entities[0]), "((0 \"POINT\") (10 (1 2 3)))");
  EXPECT_EQ(script.entities[1], client::nil());
}

TEST(Script, ReadsSystems) {
  const Script script = scriptOf(
      ";@ system 4 (1 2 3 4 5 6 7 8)\n"
      ";@ system 0 at-call 12 (0 0 1 0 0 1 1 -0.5)");
  ASSERT_EQ(script.system_changes.size(), 2u);
  EXPECT_EQ(script.system_changes[0].system, 4u);
  EXPECT_EQ(script.system_changes[0].at_call, 0u);
  EXPECT_EQ(script.system_changes[0].value.origin_x, 1);
  EXPECT_EQ(script.system_changes[0].value.origin_y, 2);
  EXPECT_EQ(script.system_changes[0].value.a, 3);
  EXPECT_EQ(script.system_changes[0].value.b, 4);
  EXPECT_EQ(script.system_changes[0].value.c, 5);
  EXPECT_EQ(script.system_changes[0].value.d, 6);
  EXPECT_EQ(script.system_changes[0].value.z_scale, 7);
  EXPECT_EQ(script.system_changes[0].value.z_offset, 8);
  EXPECT_EQ(script.system_changes[1].system, 0u);
  EXPECT_EQ(script.system_changes[1].at_call, 12u);
  EXPECT_EQ(script.system_changes[1].value.z_offset, -0.5);
}

TEST(Script, ReadsAnExpectation) {
  struct Row {
    const char* line;
    Expectation::Kind kind;
    const char* text;
  };
  const Row rows[] = {
      {";@ expect value (1 2)", Expectation::Kind::Value, "(1 2)"},
      {";@ expect error division by zero", Expectation::Kind::Error, "division by zero"},
      {";@ expect refusal BadRequest", Expectation::Kind::Refusal, "BadRequest"},
  };
  for (const Row& row : rows) {
    const Script script = scriptOf(row.line);
    ASSERT_TRUE(script.expectation.has_value());
    EXPECT_EQ(script.expectation->kind, row.kind);
    EXPECT_EQ(script.expectation->text, row.text);
  }
}

TEST(Script, ReadsTheSheetOfItsPicture) {
  const Script script = scriptOf(
      ";@ picture axes sheet A3 landscape scale 1:5 units cm\n"
      ";@ picture window 0,0,10,20");
  EXPECT_TRUE(script.picture.axes);
  ASSERT_TRUE(script.picture.page.sheet && script.picture.page.window);
  EXPECT_EQ(script.picture.page.sheet->name(), "A3 landscape");
  EXPECT_EQ(script.picture.page.sheet->scale->text(), "1:5");
  EXPECT_EQ(script.picture.page.sheet->unit.name, "cm");
  EXPECT_EQ(script.picture.page.window->top, 20);
}

TEST(Script, NamesTheLineThatCannotBeUnderstood) {
  struct Row {
    const char* program;
    const char* error;
  };
  const Row rows[] = {
      {";@",
       "line 1: unknown: ; known are answer, drawing, entity, expect, keep, load, picture and "
       "system"},
      {"(+ 1 2)\n;@ anwser GETPOINT nil",
       "line 2: unknown: anwser; known are answer, drawing, entity, expect, keep, load, picture "
       "and "
       "system"},
      {";@ answer GETPOINTS nil", "line 1: no host call: GETPOINTS"},
      {";@ answer", "line 1: no host call: "},
      {";@ entity ((0 \"POINT\")", "line 1: unterminated list"},
      {";@ entity", "line 1: expected exactly one form"},
      {";@ picture axis",
       "line 1: a picture can show axes and cells, and have a sheet, landscape, scale, units and "
       "window"},
      {";@ picture sheet", "line 1: sheet needs a word behind it"},
      {";@ picture sheet A9", "line 1: sheet A9: the sheets are A4, A3, A2, A1, A0 and Letter"},
      {";@ picture scale 1:2", "line 1: scale needs sheet"},
      {";@ system 5 (1 2 3 4 5 6 7 8)", "line 1: a system is a number from 0 to 4"},
      {";@ system -1 (1 2 3 4 5 6 7 8)", "line 1: a system is a number from 0 to 4"},
      {";@ system 1x (1 2 3 4 5 6 7 8)", "line 1: a system is a number from 0 to 4"},
      {";@ system 1 at-call 0 (1 2 3 4 5 6 7 8)", "line 1: calls are counted from 1"},
      {";@ system 1 at-call (1 2 3 4 5 6 7 8)", "line 1: calls are counted from 1"},
      {";@ system 1 (1 2 3 4 5 6 7)", "line 1: a system takes 8 numbers"},
      {";@ system 1 (1 2 3 4 5 6 7 X)", "line 1: a system takes 8 numbers"},
      {";@ system 1 8", "line 1: a system takes 8 numbers"},
      {";@ system 1", "line 1: a system takes 8 numbers"},
      {"\n\n;@ expect", "line 3: expect what: value, error, refusal, entity or entities?"},
      {";@ expect value (1", "line 1: unterminated list"},
      {";@ expect entities", "line 1: expect how many entities? a number is missing"},
      {";@ expect entities 2\n;@ expect entities 2",
       "line 2: a drawing has one number of entities"},
      {";@ expect entity (0 1)",
       "line 1: expect which groups? as in ;@ expect entity ((0 \"CIRCLE\") (40 3))"},
      {";@ expect value 1\n;@ expect value 1", "line 2: a program ends only once"},
  };
  for (const Row& row : rows) EXPECT_EQ(errorOf(row.program), row.error) << row.program;
}

}  // namespace
}  // namespace lisp_worker::console
