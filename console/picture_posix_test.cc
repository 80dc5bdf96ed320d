#include <cairo.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

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
  EXPECT_THAT(svg, HasSubstr("fill=\"#202020\" fill-rule=\"evenodd\" class=\"hatch\" "
                             "data-handle=\"E3\""));
  EXPECT_THAT(svg, HasSubstr("<clipPath id=\"after-E4\"><path d=\"M"));
  EXPECT_THAT(svg, HasSubstr("<g clip-path=\"url(#after-E4)\" class=\"hatch\" stroke=\"#202020\" "
                             "stroke-width=\"1.6\" data-handle=\"E4\"><title>E4 HATCH"));
  // Each direction has a path of its own: one with both takes ten times as long to render.
  EXPECT_THAT(svg,
              testing::ContainsRegex("stroke=\"none\" pointer-events=\"fill\"/><path d=\"M[^\"]+"
                                     "\"/><path d=\"M[^\"]+\"/></g>"));
  std::string error;
  EXPECT_TRUE(renderPng(svg, error).has_value()) << error;
}

// The lines of a path that are drawn from one point to another, as {x1, y1, x2, y2}.
std::vector<std::array<double, 4>> linesOf(const std::string& path) {
  std::vector<std::array<double, 4>> lines;
  for (std::size_t at = path.find('M'); at != std::string::npos; at = path.find('M', at + 1)) {
    std::array<double, 4> line{};
    if (std::sscanf(path.c_str() + at, "M%lf %lf L%lf %lf", &line[0], &line[1], &line[2],
                    &line[3]) == 4) {
      lines.push_back(line);
    }
  }
  return lines;
}

// The path of the entity, or of the lines of a hatch.
std::string pathOf(const std::string& svg, const std::string& handle) {
  const std::size_t end = svg.find("data-handle=\"" + handle + "\"");
  if (end == std::string::npos) return "";
  const bool is_hatch = svg.rfind("<g ", end) != std::string::npos &&
                        svg.rfind("<g ", end) > svg.rfind("<path ", end);
  const std::size_t begin =
      is_hatch ? svg.rfind("<path d=\"", svg.find("</g>", end)) : svg.rfind("<path d=\"", end);
  return svg.substr(begin + 9, svg.find('"', begin + 9) - begin - 9);
}

TEST_F(PictureTest, DrawsTheLinesOfAHatchAtTheirDistanceAndAngle) {
  run(after, R"(("PLINE" (0 0) (100 0) (100 50) (0 50) "C" "HATCH" "LINE" 5 30 "L" ""))");
  const auto lines = linesOf(pathOf(draw(), "E2"));
  ASSERT_GE(lines.size(), 10u);
  const double sine = std::sin(kPi / 6);
  const double cosine = std::cos(kPi / 6);
  double before_this = 0;
  for (const auto& [x1, y1, x2, y2] : lines) {
    const double along = std::hypot(x2 - x1, y2 - y1);
    if (along > 20) {
      EXPECT_NEAR((x2 - x1) / along, cosine, 1e-3);
      EXPECT_NEAR((y1 - y2) / along, sine, 1e-3);
    }
    // 5 mm of paper are 20 pixels.
    const double across = x1 * sine + y1 * cosine;
    if (before_this != 0) {
      EXPECT_NEAR(across - before_this, 20, 0.03);
    }
    before_this = across;
  }
}

TEST_F(PictureTest, CountsTheLinesOfAHatchByThePageNotByTheDrawing) {
  run(after, R"(("CIRCLE" (0 0) 1e9 "HATCH" "NET" 0.5 30 "L" ""))");
  options.page.window = boxBetween({0, 0, 0}, {1, 1, 0});
  EXPECT_LE(draw().size(), 400000u);
  EXPECT_GE(linesOf(pathOf(draw(), "E2")).size(), 1000u);  // In one of two directions.
}

TEST_F(PictureTest, ShowsAWindowAndNothingElse) {
  run(after, R"(("CIRCLE" (0 0) 5 "CIRCLE" (100 0) 5 "LINE" (-50 2) (50 2) ""))");
  options.page.window = boxBetween({-10, -10, 0}, {10, 10, 0});
  const std::string svg = draw();
  EXPECT_EQ(countOf(svg, "<circle"), 1u);
  EXPECT_THAT(svg, HasSubstr("data-handle=\"E3\""));
  double x = 0;
  double y = 0;
  double width = 0;
  double height = 0;
  const std::size_t at = svg.find("<clipPath id=\"after\"><rect ");
  ASSERT_NE(at, std::string::npos);
  ASSERT_EQ(std::sscanf(svg.c_str() + at + 27, " x=\"%lf\" y=\"%lf\" width=\"%lf\" height=\"%lf\"",
                        &x, &y, &width, &height),
            4);
  EXPECT_DOUBLE_EQ(width, height);
  EXPECT_THAT(svg, HasSubstr("<circle cx=\"" + svgNumber(x + width / 2) + "\" cy=\"" +
                             svgNumber(y + height / 2) + "\" r=\"" + svgNumber(width / 4) + "\""));
  options.page.window = boxBetween({500, 500, 0}, {510, 510, 0});
  EXPECT_THAT(draw(), HasSubstr("nothing lies in the window"));
  // A view of the drawing gives way to the window.
  run(after, R"(("ZOOM" "W" (490 490) (520 520)))");
  options.page.window = boxBetween({-10, -10, 0}, {10, 10, 0});
  EXPECT_EQ(draw(), svg);
}

// The height on the page of the middle of the window in a picture.
double middleOf(const std::string& svg) {
  const std::size_t at = svg.rfind("<rect ", svg.find("class=\"window\""));
  double x = 0;
  double y = 0;
  double width = 0;
  double height = 0;
  EXPECT_EQ(std::sscanf(svg.c_str() + at, "<rect x=\"%lf\" y=\"%lf\" width=\"%lf\" height=\"%lf\"",
                        &x, &y, &width, &height),
            4);
  return y + height / 2;
}

// A drawing a billion wide, and a window of 1.
TEST_F(PictureTest, IsRightAndFiniteAtADeepZoom) {
  options.page.window = boxBetween({1000, 1000, 0}, {1001, 1001, 0});
  run(after, R"(("LINE" (-1e9 -1e9) (1e9 1e9) "" "CIRCLE" (1000.5 1e9) 999999000))");
  run(after, R"(("ARC" (1000.5 -1e9) (1e9 1e6) (1000.5 1001)))");
  run(after, R"(("PLINE" (1000.5 -1e9) (1000.5 1e9) (1e9 1e9) "A" (1e9 -1e9) "L" "C"))");
  run(after, R"(("TEXT" (-1e9 0) 5 0 "far" "POINT" (1e9 1e9) "" "HATCH" "SOLID" "E4" ""))");
  const std::string svg = draw();
  std::string error;
  EXPECT_TRUE(renderPng(svg, error).has_value()) << error;
  for (const char* const far : {"E5", "E6"}) {
    EXPECT_EQ(svg.find("data-handle=\"" + std::string(far)), std::string::npos);
  }
  // The panel's middle is at 560; the window of 1 is this wide.
  const std::size_t at = svg.find("class=\"window\"");
  const std::size_t width_at = svg.rfind("width=\"", at) + 7;
  const double unit = std::strtod(svg.c_str() + width_at, nullptr);
  ASSERT_GT(unit, 100);
  const auto line = linesOf(pathOf(svg, "E1"));
  ASSERT_EQ(line.size(), 1u);
  for (const double value : line[0]) EXPECT_LT(std::fabs(value), 1e5);
  const double middle_y = line[0][1] + (560 - line[0][0]) * -1;  // It rises by 45 degrees.
  EXPECT_NEAR(middle_y, line[0][3] + (line[0][2] - 560), 0.1);
  // The left edge of the polyline is in the middle, and so the hatch begins there.
  EXPECT_THAT(pathOf(svg, "E4"), testing::ContainsRegex("(M|L)560 "));
  EXPECT_THAT(pathOf(svg, "E7"), testing::ContainsRegex("(M|L)560 "));
  // The lower end of the circle touches y = 1000, the window's lower edge.
  const double low = middle_y + unit / 2;
  bool touches = false;
  std::size_t number_at = 0;
  const std::string circle = pathOf(svg, "E2");
  for (std::size_t n = circle.find_first_of("ML"); n != std::string::npos;
       n = circle.find_first_of("ML", n + 1), ++number_at) {
    double x = 0;
    double y = 0;
    ASSERT_EQ(std::sscanf(circle.c_str() + n + 1, "%lf %lf", &x, &y), 2);
    EXPECT_LT(std::fabs(x), 1e6);
    EXPECT_LT(y, low + 0.2);
    touches = touches || std::fabs(y - low) < 0.2;
  }
  EXPECT_TRUE(touches) << circle;
}

// The radius is five million pixels: no line, and too large for a renderer.
TEST_F(PictureTest, DrawsFlatArcsAsArcs) {
  std::string refusal;
  after.add(
      *client::readDatum(R"(((0 "POLYLINE") (10 (-100000 0)) (42 0.01) (10 (101000 0))))", nullptr),
      refusal);
  ASSERT_EQ(refusal, "");
  options.page.window = boxBetween({0, -1105, 0}, {1000, -905, 0});
  const std::string path = pathOf(draw(), "E1");
  EXPECT_GT(countOf(path, " L"), 5u) << path;
  // It goes through the window's middle, 1005 below its chord.
  options.page.window = boxBetween({499, -1006, 0}, {501, -1004, 0});
  const std::string svg = draw();
  const std::string near_path = pathOf(svg, "E1");
  std::vector<client::Point> points;
  for (std::size_t n = near_path.find_first_of("ML"); n != std::string::npos;
       n = near_path.find_first_of("ML", n + 1)) {
    points.push_back({});
    ASSERT_EQ(std::sscanf(near_path.c_str() + n + 1, "%lf %lf", &points.back().x, &points.back().y),
              2);
  }
  double height = -1;  // Of the arc in the middle of the page.
  for (std::size_t n = 1; n < points.size(); ++n) {
    const client::Point& from = points[n - 1];
    const client::Point& to = points[n];
    if ((from.x <= 560) == (to.x <= 560)) continue;
    height = from.y + (to.y - from.y) * (560 - from.x) / (to.x - from.x);
  }
  EXPECT_NEAR(height, middleOf(svg), 0.1) << near_path;
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
