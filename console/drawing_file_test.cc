#include "console/drawing_file.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <iterator>

#include "console/files.h"
#include "console/program.h"
#include "lisp_worker/client/answer_text.h"

namespace lisp_worker::console {
namespace {

using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

constexpr const char* kWhole = R"json({
  "current_layer": "A",
  "layers": [{"name": "A", "colour": 3, "visible": false}],
  "entities": [
    {"type": "LINE", "layer": "B", "from": [0, 0], "to": [50, 0.5, 1]},
    {"handle": "E7", "type": "CIRCLE", "centre": [5, 5], "radius": 2, "colour": 30},
    {"type": "ARC", "centre": [0, 0], "radius": 1, "start_angle": 0, "end_angle": 1.5},
    {"type": "POLYLINE", "points": [[0, 0], [9, 0], [9, 9]], "closed": true},
    {"type": "TEXT", "at": [0, 0], "height": 2.5, "text": "a \"b\"", "angle": 1, "align": "right"},
    {"type": "POINT", "at": [3, 4], "other": [[999, "(1 \"x\")"]]}],
  "view": [0, 0, 100, 50],
  "systems": {"1": {"origin": [100, 50], "x_axis": [0, 1], "y_axis": [-1, 0], "z_scale": 2}},
  "cells": {"size": 25, "origin": [1, 2]}
})json";

const Entity& entityAt(const Drawing& drawing, std::size_t index) {
  return *std::next(drawing.entities().begin(), static_cast<std::ptrdiff_t>(index));
}

TEST(DrawingFile, HoldsEverythingOfADrawing) {
  std::string error;
  const auto sheet = readSheet(kWhole, error);
  ASSERT_TRUE(sheet.has_value()) << error;
  const Drawing& drawing = sheet->drawing;
  ASSERT_EQ(drawing.entities().size(), 6u);
  EXPECT_EQ(describeEntity(entityAt(drawing, 0)), "E1 LINE on layer B: from (0 0), to (50 0.5 1)");
  EXPECT_EQ(describeEntity(entityAt(drawing, 1)), "E7 CIRCLE on layer A: centre (5 5), radius 2");
  EXPECT_EQ(entityAt(drawing, 2).handle, "E8");
  EXPECT_EQ(describeEntity(entityAt(drawing, 3)),
            "E9 POLYLINE on layer A: closed, through (0 0) (9 0) (9 9)");
  EXPECT_EQ(findStringGroup(entityAt(drawing, 4).groups, kTextGroup), "a \"b\"");
  EXPECT_FALSE(drawing.findLayer("A")->is_visible);
  EXPECT_EQ(drawing.view()->top, 50);
  EXPECT_EQ(sheet->context.systems[1].z_scale, 2);
  EXPECT_EQ(sheet->context.systems[2].a, 1);
  EXPECT_EQ(sheet->context.cell_size, 25);
  EXPECT_EQ(sheet->context.cell_plane.origin_y, 2);
}

TEST(DrawingFile, IsReadBackAsItWasWritten) {
  std::string error;
  const auto sheet = readSheet(kWhole, error);
  ASSERT_TRUE(sheet.has_value()) << error;
  const std::string text = writeSheet(*sheet);
  const auto again = readSheet(text, error);
  ASSERT_TRUE(again.has_value()) << error << "\n" << text;
  EXPECT_EQ(writeSheet(*again), text);
  EXPECT_EQ(again->drawing.layers(), sheet->drawing.layers());
  ASSERT_EQ(again->drawing.entities().size(), sheet->drawing.entities().size());
  for (std::size_t n = 0; n < 6; ++n) {
    EXPECT_EQ(describeEntity(entityAt(again->drawing, n)),
              describeEntity(entityAt(sheet->drawing, n)));
  }
  EXPECT_EQ(writeSheet(*readSheet(writeSheet(emptySheet()), error)), writeSheet(emptySheet()));
}

std::string printedData(const Entity& entity) { return client::printDatum(entityData(entity)); }

// Lines, arcs and hatches come back group by group.
TEST(DrawingFile, KeepsHowThingsAreDrawn) {
  std::string error;
  const auto sheet = readSheet(R"({
  "layers": [{"name": "A", "line_type": "DASHED", "line_weight": 50}],
  "entities": [
    {"type": "POLYLINE", "points": [[0, 0], [9, 0], [9, 9]], "bulges": [null, 1, null],
     "line_type": "DOT", "line_scale": 2, "line_weight": 13},
    {"type": "HATCH", "pattern": "NET", "distance": 2, "angle": 0.5,
     "outlines": [{"points": [[0, 0], [9, 0]], "bulges": [1, 1]},
                  {"points": [[1, 0], [2, 0], [2, 1]]}]},
    {"type": "HATCH", "pattern": "SOLID", "outlines": [{"points": [[0, 0], [9, 0], [9, 9]]}]}]})",
                               error);
  ASSERT_TRUE(sheet.has_value()) << error;
  const Drawing& drawing = sheet->drawing;
  EXPECT_EQ(drawing.findLayer("A")->line_type, "DASHED");
  EXPECT_EQ(drawing.findLayer("A")->line_weight, 50);
  EXPECT_EQ(printedData(*drawing.find("E1")),
            R"(((-1 "E1") (0 "POLYLINE") (10 (0 0)) (10 (9 0)) (42 1) (10 (9 9)) (6 "DOT") )"
            R"((48 2) (370 13) (8 "0")))");
  EXPECT_EQ(printedData(*drawing.find("E2")),
            R"(((-1 "E2") (0 "HATCH") (2 "NET") (41 2) (52 0.5) (93 2) (10 (0 0)) (42 1) )"
            R"((10 (9 0)) (42 1) (93 3) (10 (1 0)) (10 (2 0)) (10 (2 1)) (8 "0")))");
  const auto again = readSheet(writeSheet(*sheet), error);
  ASSERT_TRUE(again.has_value()) << error;
  EXPECT_EQ(writeSheet(*again), writeSheet(*sheet));
  for (const Entity& entity : drawing.entities()) {
    EXPECT_EQ(describeEntity(*again->drawing.find(entity.handle)), describeEntity(entity));
  }
  EXPECT_EQ(again->drawing.layers(), drawing.layers());
}

TEST(DrawingFile, SaysWhereItCannotBeUsed) {
  struct Row {
    const char* text;
    const char* error;
  };
  const Row rows[] = {
      {"", "line 1, column 1: no JSON: "},
      {"{\n  \"entities\": [,]}", "line 2, column 16: no JSON: "},
      {"{\"view\": [0, 0, 1e999, 1]}", "no JSON: "},
      {"[]", "a drawing is an object"},
      {R"({"layers": [{"name": "A", "line_type": "FENCE"}]})",
       "layer 1: \"line_type\" must be one of CONTINUOUS"},
      {R"({"layers": [{"name": "A", "line_weight": 0.5}]})",
       "layer 1: \"line_weight\" must be hundredths of a millimetre, 0 to 211"},
      {R"({"entities": [{"type": "POLYLINE", "points": [[0, 0], [1, 1]], "bulges": [1]}]})",
       "entity 1 (POLYLINE): \"bulges\" must be a list of as many numbers as there are points"},
      {R"({"entities": [{"type": "POLYLINE", "points": [[0, 0], [1, 1]], "bulges": [1, "2"]}]})",
       "entity 1 (POLYLINE): \"bulges\" must be numbers, or null"},
      {R"({"entities": [{"type": "HATCH", "pattern": "NET", "outlines": [[0, 0]]}]})",
       "entity 1 (HATCH): \"outlines\" must be a list of objects"},
      {R"({"entities": [{"type": "HATCH", "pattern": "NET", "outlines": []}]})",
       "entity 1 (HATCH): HATCH needs a group 10, outline (the key \"outlines\")"},
      {"{\"layres\": []}", "unknown key \"layres\"; known are current_layer layers"},
      {"{\"entities\": 5}", "\"entities\" must be a list"},
      {"{\"entities\": [5]}", "entity 1: must be an object"},
      {"{\"entities\": [{}]}", "entity 1: needs a \"type\""},
      {R"({"entities": [{"type": "SPHERE"}]})",
       "entity 1 (SPHERE): unknown type \"SPHERE\"; known are POINT LINE CIRCLE ARC POLYLINE TEXT "
       "HATCH"},
      {R"({"entities": [{"type": "line", "from": [0, 0]}]})",
       "entity 1 (line): unknown type \"line\"; known are POINT LINE CIRCLE ARC POLYLINE TEXT "
       "HATCH"},
      {R"({"entities": [{"type": [5]}]})", "entity 1: \"type\" must be a text, not [5]"},
      {R"({"entities": [{"type": "POINT", "at": [0, 0]}, {"type": "CIRCLE", "centre": [1, 1],
          "radius": 0}]})",
       "entity 2 (CIRCLE): group 40 needs a number above 0 (the key \"radius\")"},
      {R"({"entities": [{"type": "LINE", "from": [0, 0]}]})",
       "entity 1 (LINE): LINE needs a group 11, to (the key \"to\")"},
      {R"({"entities": [{"type": "LINE", "from": [0]}]})",
       "entity 1 (LINE): \"from\" must be a point"},
      {R"({"entities": [{"type": "LINE", "centre": [0, 0]}]})",
       "entity 1 (LINE): LINE has no key \"centre\"; it has type handle layer colour "
       "line_type line_scale line_weight from to"},
      {R"({"entities": [{"type": "POINT", "at": [0, 0], "handle": "X1"}]})",
       "no handle: X1; a handle is E and a number, as E7"},
      {R"({"entities": [{"type": "POINT", "at": [0, 0], "handle": "E1"},
                        {"type": "POINT", "at": [0, 0], "handle": "E1"}]})",
       "entity 2 (POINT): the handle E1 is taken"},
      {R"json({"entities": [{"type": "POINT", "at": [0, 0], "other": [[1, "("]]}]})json",
       "\"other\" must be a list"},
      {R"({"layers": [{"colour": 1}]})", "layer 1: needs a \"name\""},
      {R"({"layers": [{"name": "A", "colour": 256}]})",
       "\"colour\" must be a number from 1 to 255"},
      {R"({"systems": {"5": {}}})", "a system is one of 0 to 4, not \"5\""},
      {R"({"systems": {"1": {"origin": 5}}})", "system 1: \"origin\" must be two numbers"},
      {R"({"cells": {"size": 0}})", "cells: \"size\" must be above 0"},
      {R"({"view": [0, 0, 0, 1]})", "\"view\" must be four numbers"},
  };
  for (const Row& row : rows) {
    std::string error;
    EXPECT_FALSE(readSheet(row.text, error).has_value()) << row.text;
    EXPECT_THAT(error, HasSubstr(row.error)) << row.text;
  }
}

TEST(DrawingFile, BoundsTheKeysOfAnObject) {
  const auto error_with = [](std::size_t count) {
    std::string text = "{\"entities\": [{";
    for (std::size_t n = 0; n < count; ++n) {
      text += (n == 0 ? "\"k" : ", \"k") + std::to_string(n) + "\": {\"a\": 1, \"b\": {}}";
    }
    std::string error;
    EXPECT_FALSE(readSheet(text + "}]}", error).has_value());
    return error;
  };
  EXPECT_EQ(error_with(99), "entity 1: needs a \"type\"");
  EXPECT_EQ(error_with(100), "entity 1: needs a \"type\"");
  EXPECT_EQ(error_with(101), "an object has more than 100 keys");
  EXPECT_EQ(error_with(50000), "an object has more than 100 keys");
}

TEST(Files, AreReplacedAsAWholeOrNotAtAll) {
  const std::string directory = testing::TempDir() + "lisp_files_test";
  std::filesystem::create_directories(directory);
  const std::string path = directory + "/a.json";
  std::string error;
  ASSERT_TRUE(writeFile(path, "old", error)) << error;
  ASSERT_TRUE(writeFile(path, "new", error)) << error;
  EXPECT_EQ(readFile(path, error), "new");
  EXPECT_FALSE(writeFile(directory + "/none/a.json", "x", error));
  EXPECT_THAT(error, HasSubstr("/none/a.json: cannot be written: "));
  // A directory in the way: what was begun is taken back.
  std::filesystem::create_directories(directory + "/taken/inside");
  EXPECT_FALSE(writeFile(directory + "/taken", "x", error));
  EXPECT_EQ(error, directory + "/taken: cannot be written: it is no regular file");
  EXPECT_FALSE(canWriteFile(directory + "/taken", error));
  EXPECT_TRUE(canWriteFile(directory + "/b.json", error));
  // Nothing is left beside them.
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(directory), {}), 2);
  std::filesystem::remove_all(directory);
}

TEST(ReadProgram, FindsTheFilesThatItsCommentsName) {
  const std::string directory = testing::TempDir() + "lisp_program_test";
  std::filesystem::create_directories(directory + "/lib");
  std::string error;
  ASSERT_TRUE(writeFile(directory + "/plan.json", kWhole, error));
  ASSERT_TRUE(writeFile(directory + "/lib/a.lsp", ";@ load b.lsp\n(SETQ A B)", error));
  ASSERT_TRUE(writeFile(directory + "/lib/b.lsp", "(SETQ B 1)", error));
  ASSERT_TRUE(writeFile(directory + "/lib/self.lsp", ";@ load self.lsp", error));
  ASSERT_TRUE(writeFile(directory + "/main.lsp",
                        ";@ drawing plan.json\n;@ load lib/a.lsp\n;@ picture cells axes\nA",
                        error));
  const auto program = readProgram(directory + "/main.lsp", error);
  ASSERT_TRUE(program.has_value()) << error;
  EXPECT_EQ(program->sheet->drawing.entities().size(), 6u);
  ASSERT_EQ(program->libraries.size(), 1u);
  EXPECT_EQ(program->libraries[0].libraries[0].text, "(SETQ B 1)");
  EXPECT_TRUE(program->script.picture.axes && program->script.picture.cells);

  // However many name a library, it is read and run once.
  std::string twice = ";@ load b.lsp\n;@ load b.lsp";
  for (int level = 0; level < 40; ++level) {
    const std::string name = "twice" + std::to_string(level) + ".lsp";
    ASSERT_TRUE(writeFile(directory + "/lib/" + name, twice, error));
    twice = ";@ load " + name + "\n;@ load " + name;
  }
  const auto tower = readProgram(directory + "/lib/twice39.lsp", error);
  ASSERT_TRUE(tower.has_value()) << error;
  std::size_t library_count = 0;
  for (const Program* floor = &*tower; !floor->libraries.empty(); ++library_count) {
    ASSERT_EQ(floor->libraries.size(), 1u);
    floor = &floor->libraries.front();
  }
  EXPECT_EQ(library_count, 40u);

  EXPECT_FALSE(readProgram(directory + "/lib/self.lsp", error));
  EXPECT_THAT(error, StartsWith(directory + "/lib/self.lsp: line 1: "));
  EXPECT_THAT(error, EndsWith("self.lsp: loads itself"));
  ASSERT_TRUE(writeFile(directory + "/lib/b.lsp", "1\n;@ load ../lib/a.lsp", error));
  EXPECT_FALSE(readProgram(directory + "/lib/a.lsp", error));
  EXPECT_THAT(error, HasSubstr("b.lsp: line 2: "));
  EXPECT_THAT(error, EndsWith("../lib/a.lsp: loads itself"));
  ASSERT_TRUE(writeFile(directory + "/bad.lsp", ";@ drawing none.json", error));
  EXPECT_FALSE(readProgram(directory + "/bad.lsp", error));
  EXPECT_THAT(error, HasSubstr("none.json: cannot be read"));
  EXPECT_FALSE(makeProgram("typed", ";@ load x.lsp", error));
  ASSERT_TRUE(writeFile(directory + "/picks.txt", "; picks\n\nGETPOINT (1 2)\nGETFOO 1\n", error));
  EXPECT_FALSE(readAnswers(directory + "/picks.txt", error));
  EXPECT_THAT(error, HasSubstr("picks.txt: line 4: no host call: GETFOO"));
  std::filesystem::remove_all(directory);
}

}  // namespace
}  // namespace lisp_worker::console
