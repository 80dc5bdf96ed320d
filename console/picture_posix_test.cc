#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "console/commands.h"
#include "console/drawing_file.h"
#include "console/picture.h"
#include "lisp_worker/client/answer_text.h"

namespace lisp_worker::console {
namespace {

using testing::HasSubstr;
using testing::Not;

std::size_t countOf(const std::string& text, const std::string& part) {
  std::size_t count = 0;
  for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) {
    ++count;
  }
  return count;
}

class PictureTest : public testing::Test {
 protected:
  void run(Drawing& drawing, std::string_view command) {
    const auto list = client::readDatum(command, nullptr);
    const std::string done = runCommand(drawing, *client::asList(*list)).text;
    EXPECT_EQ(done.find("nothing"), std::string::npos) << done;
  }

  [[nodiscard]] std::string draw() const {
    return drawPicture(before, after, emptySheet().context, options);
  }

  Drawing before;
  Drawing after;
  PictureOptions options;
};

TEST_F(PictureTest, ShowsOneSheetWhereNothingWasBefore) {
  run(after, R"(("LINE" (0 0) (100 50) "" "CIRCLE" (10 10) 5))");
  const std::string svg = draw();
  EXPECT_THAT(svg, HasSubstr("2 entities, drawn on an empty sheet"));
  EXPECT_EQ(countOf(svg, "class=\"sheet\""), 1u);
  EXPECT_EQ(countOf(svg, "class=\"mark\""), 0u);
  EXPECT_EQ(countOf(svg, "<circle"), 1u);
}

TEST_F(PictureTest, MarksWhatIsNewChangedAndErased) {
  run(before, R"(("POINT" (0 0) (10 0) (20 20) ""))");
  after = before;
  run(after, R"(("MOVE" "E1" "" (0 0) (5 5) "ERASE" "E2" "" "LINE" (1 1) (2 2) ""))");
  const std::string svg = draw();
  EXPECT_THAT(svg, HasSubstr("before: 3 entities"));
  EXPECT_THAT(svg, HasSubstr("1 new, 1 changed, 1 erased"));
  EXPECT_EQ(countOf(svg, "class=\"sheet\""), 2u);
  // Once for each mark in a panel, and once in the legend; what has changed in both panels.
  EXPECT_EQ(countOf(svg, "stroke=\"#43a047\" class=\"mark\""), 2u);
  EXPECT_EQ(countOf(svg, "stroke=\"#fb8c00\" class=\"mark\""), 3u);
  EXPECT_EQ(countOf(svg, "stroke=\"#e53935\" class=\"mark\""), 2u);
  EXPECT_EQ(countOf(svg, "stroke-dasharray"), 1u);
}

TEST_F(PictureTest, DrawsLayersInTheirColoursAndLeavesHiddenOnesOut) {
  run(after, R"(("LAYER" "M" "R" "C" "red" "R" "" "CIRCLE" (0 0) 1))");
  run(after, R"(("LAYER" "M" "H" "" "CIRCLE" (0 0) 2 "LAYER" "OFF" "H" ""))");
  const std::string svg = draw();
  EXPECT_EQ(countOf(svg, "<circle"), 1u);
  EXPECT_THAT(svg, HasSubstr("stroke=\"#d32f2f\"/>"));
  EXPECT_THAT(svg, HasSubstr(">R</text>"));
  EXPECT_THAT(svg, HasSubstr(">H (off)</text>"));
}

TEST_F(PictureTest, ShowsAxesAndCellsWhenAsked) {
  run(after, R"(("LINE" (0 0) (150 150) ""))");
  EXPECT_THAT(draw(), Not(HasSubstr("class=\"axis\"")));
  EXPECT_THAT(draw(), Not(HasSubstr("class=\"cell\"")));
  options.shows_axes = options.shows_cells = true;
  EXPECT_THAT(draw(), HasSubstr(">x1</text>"));
  EXPECT_THAT(draw(), Not(HasSubstr(">x4</text>")));  // It has no y axis of its own.
  EXPECT_EQ(countOf(draw(), "class=\"cell\""), 2u);
}

TEST_F(PictureTest, IsWellFormedWhateverTheDrawingHolds) {
  std::string refusal;
  const char* const texts[] = {"a < b & \"c\"", "\x01\x02 bell", "caf\xC3\xA9 \xFF\xC3",
                               "\xED\xA0\x80"};
  for (const char* const text : texts) {
    Drawing drawing;
    drawing.add(client::list({makeGroup(kTypeGroup, client::string("TEXT")),
                              makeGroup(kPointGroup, client::point(0, 0, 0)),
                              makeGroup(kSizeGroup, client::number(2)),
                              makeGroup(kLayerGroup, client::string(text)),
                              makeGroup(kTextGroup, client::string(text))}),
                refusal);
    ASSERT_EQ(drawing.entities().size(), 1u) << refusal;
    std::string error;
    const std::string svg = drawPicture({}, drawing, emptySheet().context, {.title = text});
    EXPECT_TRUE(renderPng(svg, error).has_value()) << error;
  }
}

TEST_F(PictureTest, ManagesDrawingsOfAnySize) {
  struct Row {
    const char* command;
  };
  for (const char* const command :
       {R"(("POINT" (5 5) ""))", R"(("LINE" (0 0) (1e-9 0) ""))", R"(("LINE" (0 0) (0 1e12) ""))",
        R"(("LINE" (-1e308 0) (1e308 1e308) ""))", R"(("CIRCLE" (1e300 1e300) 1e-300))"}) {
    Drawing drawing;
    run(drawing, command);
    std::string error;
    EXPECT_TRUE(
        renderPng(drawPicture(drawing, drawing, emptySheet().context, {}), error).has_value())
        << command << error;
  }
  EXPECT_THAT(draw(), HasSubstr("nothing is drawn"));
}

TEST_F(PictureTest, BecomesAPng) {
  std::string error;
  const auto png = renderPng(draw(), error);
  ASSERT_TRUE(png.has_value()) << error;
  EXPECT_TRUE(png->starts_with("\x89PNG"));
  EXPECT_FALSE(renderPng("no picture", error).has_value());
  EXPECT_THAT(error, HasSubstr("the picture cannot be rendered: "));
}

}  // namespace
}  // namespace lisp_worker::console
