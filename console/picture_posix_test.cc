#include <cairo.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdio>
#include <string>

#include "console/commands.h"
#include "console/drawing_file.h"
#include "console/font.h"
#include "console/picture.h"
#include "console/shape.h"
#include "console/svg.h"
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
  EXPECT_EQ(countOf(svg, "class=\"mark new\""), 2u);
  EXPECT_EQ(countOf(svg, "class=\"mark changed\""), 3u);
  EXPECT_EQ(countOf(svg, "class=\"mark erased\""), 2u);
  // They differ without their colours: in width, and in their dashes.
  EXPECT_THAT(svg, HasSubstr(".new { stroke: #43a047; stroke-width: 8 }"));
  EXPECT_THAT(svg, HasSubstr(".changed { stroke: #fb8c00; stroke-width: 7; stroke-dasharray: 9 6"));
  EXPECT_THAT(svg, HasSubstr(".erased { stroke: #e53935; stroke-width: 9; stroke-dasharray: 0 13"));
}

TEST_F(PictureTest, ShowsOneSheetWhereNothingHasChanged) {
  run(before, R"(("LAYER" "M" "A" "" "LINE" (0 0) (9 9) ""))");
  after = before;
  EXPECT_THAT(draw(), HasSubstr("1 entity, nothing has changed"));
  EXPECT_EQ(countOf(draw(), "class=\"sheet\""), 1u);
  run(after, R"(("ZOOM" "C" (0 0) 5 "LAYER" "N" "EMPTY" ""))");
  EXPECT_EQ(countOf(draw(), "class=\"sheet\""), 1u);
  run(after, R"(("LAYER" "C" "red" "A" ""))");  // The line looks different now.
  EXPECT_EQ(countOf(draw(), "class=\"sheet\""), 2u);
}

TEST_F(PictureTest, NamesEachEntityForPointersAndScripts) {
  run(after, R"(("LAYER" "M" "A & B" "" "LINE" (0 0) (9 9) "" "CIRCLE" (1 1) 2))");
  run(after, R"(("TEXT" (0 0) 2 0 "word" "POINT" (5 5) ""))");
  const std::string svg = draw();
  EXPECT_EQ(countOf(svg, "data-handle="), 4u);
  EXPECT_THAT(svg,
              HasSubstr("data-handle=\"E1\"><title>E1 LINE on layer A &amp; B</title></path>"));
  EXPECT_THAT(svg, HasSubstr("data-handle=\"E2\"><title>E2 CIRCLE on layer A &amp; B</title>"));
  EXPECT_THAT(svg, HasSubstr("data-handle=\"E3\"><title>E3 TEXT on layer A &amp; B</title>word<"));
}

TEST_F(PictureTest, TellsAPageHowToFindPointsInIt) {
  run(after, R"(("LINE" (0 0) (100 50) "" "CIRCLE" (10 10) 5))");
  EXPECT_EQ(countOf(draw(), "data-mapping"), 0u);
  options.tells_mapping = true;
  const std::string svg = draw();
  const std::size_t at = svg.find("data-mapping=\"") + 14;
  double x = 0;
  double y = 0;
  double scale = 0;
  ASSERT_EQ(std::sscanf(svg.c_str() + at, "%lf %lf %lf", &x, &y, &scale), 3);
  const std::string centre = "<circle cx=\"" + svgNumber(x + 10 * scale) + "\" cy=\"" +
                             svgNumber(y - 10 * scale) + "\" r=\"" + svgNumber(5 * scale);
  EXPECT_THAT(svg, HasSubstr(centre));
}

TEST_F(PictureTest, DrawsLayersInTheirColoursAndLeavesHiddenOnesOut) {
  run(after, R"(("LAYER" "M" "R" "C" "red" "R" "" "CIRCLE" (0 0) 1))");
  run(after, R"(("LAYER" "M" "H" "" "CIRCLE" (0 0) 2 "LAYER" "OFF" "H" ""))");
  const std::string svg = draw();
  EXPECT_EQ(countOf(svg, "<circle"), 1u);
  EXPECT_THAT(svg, HasSubstr("stroke=\"#d32f2f\" data-handle=\"E1\">"));
  EXPECT_THAT(svg, HasSubstr(">R</text>"));
  EXPECT_THAT(svg, HasSubstr(">H (off)</text>"));
}

TEST_F(PictureTest, DrawsLineTypesAndWeightsOfLayersAndEntities) {
  run(after, R"(("LAYER" "M" "AXES" "L" "CENTER" "" "LW" 0.5 "" "" "LINE" (0 0) (9 9) ""))");
  std::string refusal;
  after.modify(*client::readDatum(R"(((-1 "E1") (48 0.5)))", nullptr), refusal);
  const std::string svg = draw();
  // A millimetre of paper is 4 pixels.
  EXPECT_THAT(svg, HasSubstr("stroke-width=\"3.2\" stroke-dasharray=\"24 3 4 3\" "
                             "stroke-linecap=\"butt\" data-handle=\"E1\""));
  EXPECT_THAT(svg, HasSubstr("class=\"layer\" stroke-dasharray=\"19.2 2.4 3.2 2.4\""));
}

TEST_F(PictureTest, DrawsArcsInPolylines) {
  run(after, R"(("PLINE" (0 0) (10 0) "A" (10 4) "L" (0 4) "A" "C"))");
  // Two half circles, against the clock.
  EXPECT_THAT(draw(), testing::ContainsRegex("d=\"M[0-9. ]+ L[0-9. ]+ A[0-9.]+ [0-9.]+ 0 0 0 "
                                             "[0-9. ]+ L[0-9. ]+ A[0-9.]+ [0-9.]+ 0 0 0 "
                                             "[0-9. ]+ Z\""));
}

TEST_F(PictureTest, FillsHatches) {
  run(after, R"(("CIRCLE" (0 0) 5 "CIRCLE" (0 0) 2 "HATCH" "SOLID" "E1" "E2" ""))");
  run(after, R"(("HATCH" "NET" 2 30 "E1" ""))");
  const std::string svg = draw();
  EXPECT_THAT(svg, HasSubstr("fill=\"#202020\" fill-rule=\"evenodd\" data-handle=\"E3\""));
  EXPECT_THAT(svg, HasSubstr("<pattern id=\"after-E4\" patternUnits=\"userSpaceOnUse\" width=\"8\" "
                             "height=\"8\" patternTransform=\"rotate(-30)\"><path d=\"M0 4 H8 M4 0 "
                             "V8\" stroke=\"#202020\""));
  EXPECT_THAT(svg, HasSubstr("fill=\"url(#after-E4)\""));
  std::string error;
  EXPECT_TRUE(renderPng(svg, error).has_value()) << error;
}

TEST_F(PictureTest, DrawsSignsInTexts) {
  run(after, R"(("TEXT" (0 0) 5 0 "%%c20 %%p0.1"))");
  EXPECT_THAT(draw(), HasSubstr(">\xE2\x8C\x80"
                                "20 \xC2\xB1"
                                "0.1</text>"));
  EXPECT_DOUBLE_EQ(boundsOf(*after.entities().begin()).width(), textWidth("\xE2\x8C\x80"
                                                                          "20 \xC2\xB1"
                                                                          "0.1",
                                                                          5));
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
        R"(("LINE" (-1e308 0) (1e308 1e308) ""))", R"(("PLINE" (-1e308 0) "A" (1e308 1e308) ""))",
        R"(("PLINE" (0 0) "A" "S" (1e-9 1e9) (1 1e-300) "C" "HATCH" "NET" 0.5 1 "E1" ""))",
        R"(("CIRCLE" (1e300 1e300) 1e-300))"}) {
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

TEST_F(PictureTest, BecomesAPngUpToALimit) {
  // Paths that go nowhere, and blanks.
  const auto picture_of_size = [](std::size_t size) {
    std::string text = "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"9\" height=\"9\">";
    const std::string end = "</svg>";
    constexpr std::size_t kPiece = std::size_t{1} << 20;
    while (text.size() + 2 * kPiece < size) {
      text += "<path d=\"M0 0" + std::string(kPiece, ' ') + "\"/>";
    }
    text.append(size - text.size() - end.size(), ' ');
    return text + end;
  };
  std::string error;
  EXPECT_TRUE(renderPng(picture_of_size(kRenderedSizeMax - 1), error).has_value()) << error;
  EXPECT_TRUE(renderPng(picture_of_size(kRenderedSizeMax), error).has_value()) << error;
  EXPECT_FALSE(renderPng(picture_of_size(kRenderedSizeMax + 1), error).has_value());
  EXPECT_EQ(error, "the picture has more than 16 MiB of shapes to render; write it as .svg");
}

// The widths that extents are made of are those of the font that renders the picture.
TEST_F(PictureTest, KnowsHowWideItsFontDrawsAText) {
  constexpr double kSize = 1000;
  cairo_surface_t* const surface = cairo_image_surface_create(CAIRO_FORMAT_A8, 1, 1);
  cairo_t* const pen = cairo_create(surface);
  cairo_select_font_face(pen, "DejaVu Sans", CAIRO_FONT_SLANT_NORMAL, CAIRO_FONT_WEIGHT_NORMAL);
  cairo_set_font_size(pen, kSize);
  for (const char* const text :
       {"WIDE", "ill", "25\xC2\xB0 \xC2\xB1 1/2", "\xC3\xA4\xC3\x96", "\xE2\x8C\x80 20"}) {
    cairo_text_extents_t extents;
    cairo_text_extents(pen, text, &extents);
    EXPECT_NEAR(extents.x_advance / kSize, widthInFont(text), 0.01) << text;
  }
  cairo_destroy(pen);
  cairo_surface_destroy(surface);
}

TEST_F(PictureTest, DrawsATextAsWideAsItsBox) {
  run(after, R"(("TEXT" (0 0) 10 0 "WIDE"))");
  EXPECT_DOUBLE_EQ(boundsOf(*after.entities().begin()).width(),
                   widthInFont("WIDE") * 10 / kCapitalHeight);
  EXPECT_THAT(draw(), HasSubstr("lengthAdjust=\"spacingAndGlyphs\""));
}

}  // namespace
}  // namespace lisp_worker::console
