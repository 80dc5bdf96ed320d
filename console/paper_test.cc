#include "console/paper.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <string>

namespace lisp_worker::console {
namespace {

using testing::HasSubstr;
using testing::Not;

PaperSheet sheetOf(const PageTexts& texts) {
  std::string error;
  const auto page = readPage(texts, "--", error);
  EXPECT_TRUE(page && page->sheet) << error;
  return page && page->sheet ? *page->sheet : PaperSheet{};
}

Box boxOf(double width, double height) { return boxBetween({0, 0, 0}, {width, height, 0}); }

// The scale of a drawing of that size, or the reason why there is none.
std::string scaleOf(const PageTexts& texts, double width, double height) {
  std::string refusal;
  const auto scale = scaleFor(sheetOf(texts), boxOf(width, height), "drawing", refusal);
  return scale ? scale->text() : refusal;
}

TEST(Paper, HasTheSizesOfItsFormats) {
  struct Row {
    const char* name;
    double width;
    double height;
  };
  for (const Row& row : {Row{"A4", 210, 297},
                         {"a3", 297, 420},
                         {"A2", 420, 594},
                         {"A1", 594, 841},
                         {"A0", 841, 1189},
                         {"letter", 215.9, 279.4}}) {
    const PaperSheet sheet = sheetOf({.sheet = row.name});
    EXPECT_EQ(sheet.size().width, row.width) << row.name;
    EXPECT_EQ(sheet.size().height, row.height) << row.name;
    const PaperSheet turned = sheetOf({.sheet = row.name, .is_landscape = true});
    EXPECT_EQ(turned.size().width, row.height) << row.name;
    EXPECT_EQ(turned.size().height, row.width) << row.name;
  }
  EXPECT_EQ(sheetOf({.sheet = "A4"}).room().width, 170);
  EXPECT_EQ(sheetOf({.sheet = "A4"}).room().height, 252);
  EXPECT_EQ(sheetOf({.sheet = "A4", .is_landscape = true}).name(), "A4 landscape");
}

TEST(Paper, TakesADrawingThatJustFits) {
  const PageTexts tenth = {.sheet = "A4", .scale = "1:10"};
  EXPECT_EQ(scaleOf(tenth, 1699.99, 2519.99), "1:10");
  EXPECT_EQ(scaleOf(tenth, 1700, 2520), "1:10");
  EXPECT_THAT(scaleOf(tenth, 1700.01, 2520), HasSubstr("does not fit"));
  EXPECT_THAT(scaleOf(tenth, 1700, 2520.01), HasSubstr("does not fit"));
  const PageTexts double_size = {.sheet = "Letter", .scale = "2:1", .is_landscape = true};
  EXPECT_EQ(scaleOf(double_size, 119.7, 80.45), "2:1");
  EXPECT_THAT(scaleOf(double_size, 119.71, 80.45), HasSubstr("does not fit"));
  const PageTexts metres = {.sheet = "A4", .scale = "1:100", .units = "m"};
  EXPECT_EQ(scaleOf(metres, 17, 25.2), "1:100");
  EXPECT_THAT(scaleOf(metres, 17.001, 25.2), HasSubstr("does not fit"));
  const PageTexts inches = {.sheet = "A4", .scale = "1:1", .units = "in"};
  EXPECT_EQ(scaleOf(inches, 170 / 25.4, 1), "1:1");
  EXPECT_THAT(scaleOf(inches, 170.001 / 25.4, 1), HasSubstr("does not fit"));
  const PageTexts centimetres = {.sheet = "A4", .scale = "1:1", .units = "cm"};
  EXPECT_EQ(scaleOf(centimetres, 17, 25.2), "1:1");
  EXPECT_THAT(scaleOf(centimetres, 17.001, 25.2), HasSubstr("does not fit"));
}

TEST(Paper, SaysWhatFitsInstead) {
  const PageTexts tenth = {.sheet = "A4", .scale = "1:10"};
  EXPECT_EQ(scaleOf(tenth, 1700.1, 100),
            "the drawing does not fit on A4: at 1:10 it takes 170.01 x 10 mm, and the sheet, 210 x "
            "297 mm, has room for 170 x 252 mm; try: --scale 1:20, --landscape or --sheet A3");
  EXPECT_THAT(scaleOf(tenth, 2570, 100), HasSubstr("--landscape or --sheet A3"));
  EXPECT_THAT(scaleOf(tenth, 2570.1, 100),
              HasSubstr("; try: --scale 1:20 or --sheet A3 --landscape"));
  EXPECT_THAT(scaleOf(tenth, 2571, 2571), HasSubstr("; try: --scale 1:20 or --sheet A2"));
  const PageTexts turned = {.sheet = "A4", .scale = "1:1", .is_landscape = true};
  EXPECT_THAT(scaleOf(turned, 100, 200),
              HasSubstr("on A4 landscape: at 1:1 it takes 100 x 200 mm, and the sheet, 297 x 210 "
                        "mm, has room for 257 x 165 mm; try: --scale 1:2, without --landscape or "
                        "--sheet A3"));
  EXPECT_THAT(scaleOf(turned, 100, 260),
              HasSubstr("; try: --scale 1:2 or --sheet A3 without --landscape"));
  // The largest sheet has no larger one.
  EXPECT_THAT(scaleOf({.sheet = "A0", .scale = "1:1"}, 3000, 10),
              testing::EndsWith("; try: --scale 1:5"));
  // An infinite drawing fits nowhere.
  EXPECT_THAT(scaleOf({.sheet = "A0"}, INFINITY, 10), Not(HasSubstr("try")));
  EXPECT_THAT(scaleOf({.sheet = "A0"}, INFINITY, 10), HasSubstr("it takes inf x 10 mm"));
}

TEST(Paper, PicksTheLargestStandardScale) {
  const PageTexts sheet = {.sheet = "A4"};
  struct Row {
    double width;
    const char* scale;
  };
  for (const Row& row : {Row{170, "1:1"},
                         {170.01, "1:2"},
                         {340, "1:2"},
                         {340.01, "1:5"},
                         {85, "2:1"},
                         {85.01, "1:1"},
                         {17, "10:1"},
                         {0.17, "1000:1"},
                         {1e-9, "1000:1"},
                         {1.7e8, "1:1000000"}}) {
    EXPECT_EQ(scaleOf(sheet, row.width, 0), row.scale) << row.width;
  }
  EXPECT_THAT(scaleOf(sheet, 1.71e8, 0), HasSubstr("does not fit"));
  EXPECT_EQ(scaleOf(sheet, 0, 0), "1:1");
  std::string refusal;
  EXPECT_TRUE(scaleFor(sheetOf(sheet), Box{}, "drawing", refusal).has_value());
}

std::string errorOf(const PageTexts& texts) {
  std::string error;
  EXPECT_FALSE(readPage(texts, "--", error).has_value());
  return error;
}

TEST(Paper, SaysWhatCannotBeRead) {
  EXPECT_EQ(errorOf({.sheet = "A7"}), "--sheet A7: the sheets are A4, A3, A2, A1, A0 and Letter");
  for (const char* const scale : {"10", "1:", ":10", "1/10", "0:1", "1:0", "-1:10", "1:-10",
                                  "1:10:2", "1: 10", "a:b", "1:1000000.1", "inf:1"}) {
    EXPECT_EQ(errorOf({.sheet = "A4", .scale = scale}),
              "--scale " + std::string(scale) +
                  ": a scale is 1:10 or 2:1, numbers above 0 and at most 1000000");
  }
  for (const char* const scale : {"1:10", "2.5:1", "1:1000000", "1:0.000001"}) {
    EXPECT_GT(sheetOf({.sheet = "A4", .scale = scale}).scale->factor(), 0) << scale;
  }
  EXPECT_EQ(errorOf({.sheet = "A4", .units = "ft"}), "--units ft: the units are mm, cm, m and in");
  EXPECT_EQ(errorOf({.scale = "1:10"}), "--scale needs --sheet");
  EXPECT_EQ(errorOf({.units = "mm"}), "--units needs --sheet");
  EXPECT_EQ(errorOf({.is_landscape = true}), "--landscape needs --sheet");
  for (const char* const window :
       {"1,2,3", "1,2,3,4,5", "1,2,3,x", "1;2;3;4", "1,2,3,", "1,,3,4"}) {
    EXPECT_EQ(errorOf({.window = window}),
              "--window " + std::string(window) + ": a window is two corners, X1,Y1,X2,Y2");
  }
  for (const char* const window : {"0,0,0,5", "0,0,5,0", "1e20,0,1.0000000000001e20,1e20"}) {
    EXPECT_EQ(errorOf({.window = window}),
              "--window " + std::string(window) + ": a window needs a width and a height");
  }
}

TEST(Paper, ReadsTheCornersOfAWindowInAnyOrder) {
  std::string error;
  const auto page = readPage({.window = "10,-5,-2.5,1e1"}, "--", error);
  ASSERT_TRUE(page.has_value()) << error;
  EXPECT_FALSE(page->sheet.has_value());
  EXPECT_EQ(*page->window, boxBetween({-2.5, -5, 0}, {10, 10, 0}));
  // The smallest that doubles can divide.
  EXPECT_TRUE(readPage({.window = "1e9,0,1000000001,1"}, "--", error).has_value());
  EXPECT_TRUE(readPage({.window = "1e12,0,1000000000001.1,1e12"}, "--", error).has_value());
  EXPECT_FALSE(readPage({.window = "1e12,0,1000000000000.9,1e12"}, "--", error).has_value());
}

}  // namespace
}  // namespace lisp_worker::console
