#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>

#include "console/commands.h"
#include "console/drawing_file.h"
#include "console/sheet_picture.h"
#include "lisp_worker/client/answer_text.h"
#include "testing/base/command_output.h"

namespace lisp_worker::console {
namespace {

using testing::HasSubstr;
using testing::Not;
using testing_support::runCommand;

class SheetPicture : public testing::Test {
 protected:
  void run(std::string_view command) {
    const auto list = client::readDatum(command, nullptr);
    const CommandResult result = console::runCommand(drawing, *client::asList(*list));
    EXPECT_TRUE(result.is_whole) << result.text;
  }

  // The picture on a sheet that is written like this; empty with the reason in `error`.
  std::string draw(const PageTexts& texts) {
    const auto page = readPage(texts, "--", error);
    EXPECT_TRUE(page.has_value()) << error;
    const auto picture = drawSheet(drawing, *page->sheet, page->window, "flange.lsp", error);
    note = picture ? picture->note : "";
    return picture ? picture->svg : "";
  }

  Drawing drawing;
  std::string error;
  std::string note;
};

TEST_F(SheetPicture, HasItsTrueSizeAFrameAndATitleBlock) {
  run(R"(("LINE" (0 0) (100 50) ""))");
  const std::string svg = draw({.sheet = "A4", .scale = "1:1"});
  EXPECT_THAT(svg, HasSubstr("width=\"210mm\" height=\"297mm\" viewBox=\"0 0 210 297\""));
  EXPECT_THAT(svg, HasSubstr("x=\"20\" y=\"10\" width=\"180\" height=\"277\" class=\"frame\""));
  for (const char* const text : {">flange.lsp</text>", ">1:1</text>", ">mm</text>", ">A4</text>"}) {
    EXPECT_THAT(svg, HasSubstr(text));
  }
  EXPECT_EQ(note, "A4 at 1:1");
  EXPECT_EQ(draw({.sheet = "A4", .scale = "1:1"}), svg);
  EXPECT_THAT(draw({.sheet = "Letter", .is_landscape = true}),
              HasSubstr("width=\"279.4mm\" height=\"215.9mm\""));
  EXPECT_EQ(note, "Letter landscape at 2:1");
}

TEST_F(SheetPicture, ShowsTheDrawingToScaleInTheMiddle) {
  run(R"(("LINE" (1000 500) (1100 500) "" "CIRCLE" (1050 500) 20))");
  // The room's middle is at 110, 141.
  std::string svg = draw({.sheet = "A4", .scale = "1:2"});
  EXPECT_THAT(svg, HasSubstr("d=\"M85 141 L135 141\""));
  EXPECT_THAT(svg, HasSubstr("cx=\"110\" cy=\"141\" r=\"10\""));
  svg = draw({.sheet = "A4", .scale = "1:50", .units = "cm"});
  EXPECT_THAT(svg, HasSubstr("d=\"M100 141 L120 141\""));
  svg = draw({.sheet = "A4", .scale = "1:1000", .units = "m"});
  EXPECT_THAT(svg, HasSubstr("d=\"M60 141 L160 141\""));
  svg = draw({.sheet = "A4", .scale = "1:20", .units = "in"});
  EXPECT_THAT(svg, HasSubstr("d=\"M46.5 141 L173.5 141\""));
}

TEST_F(SheetPicture, DrawsLinesDashesAndHatchesInMillimetres) {
  run(R"(("LAYER" "M" "AXES" "L" "CENTER" "" "LW" 0.5 "" "" "LINE" (0 0) (90 0) ""))");
  run(R"(("LAYER" "M" "CUT" "LW" 0.13 "" "" "CIRCLE" (0 0) 10 "HATCH" "LINE" 2 0 "L" ""))");
  const std::string svg = draw({.sheet = "A4", .scale = "1:1"});
  EXPECT_THAT(svg, HasSubstr("stroke-width=\"0.5\" stroke-dasharray=\"12 1.5 2 1.5\""));
  EXPECT_THAT(svg, HasSubstr(".drawing { fill: none; stroke-width: 0.25;"));
  EXPECT_THAT(svg, HasSubstr("stroke-width=\"0.13\" data-handle=\"E3\""));
  EXPECT_THAT(svg, HasSubstr(" L80 139 M60 141 L80 141 M60 143 L80 143 "));
}

TEST_F(SheetPicture, RefusesWhatDoesNotFit) {
  run(R"(("LINE" (0 0) (340 0) ""))");
  EXPECT_NE(draw({.sheet = "A4", .scale = "1:2"}), "");
  run(R"(("POINT" (340.1 0) ""))");
  EXPECT_EQ(draw({.sheet = "A4", .scale = "1:2"}), "");
  EXPECT_THAT(error, HasSubstr("the drawing does not fit on A4: at 1:2 it takes 170.05 x 0 mm"));
  EXPECT_THAT(error, HasSubstr("try: --scale 1:5"));
  EXPECT_NE(draw({.sheet = "A4"}), "");
  EXPECT_EQ(note, "A4 at 1:5");
  // A hidden layer takes no room.
  run(R"(("LAYER" "M" "H" "" "LINE" (0 0) (9999 0) "" "LAYER" "OFF" "H" ""))");
  draw({.sheet = "A4"});
  EXPECT_EQ(note, "A4 at 1:5");
}

TEST_F(SheetPicture, ShowsAWindowAndNothingElse) {
  run(R"(("LINE" (0 0) (9999 0) "" "CIRCLE" (50 20) 5 "CIRCLE" (500 20) 5))");
  const std::string svg = draw({.sheet = "A4", .scale = "1:1", .window = "0,-10,100,40"});
  EXPECT_THAT(svg, HasSubstr("<clipPath id=\"sheet\"><rect x=\"60\" y=\"116\" width=\"100\" "
                             "height=\"50\"/>"));
  EXPECT_THAT(svg, HasSubstr("data-handle=\"E2\""));
  EXPECT_THAT(svg, Not(HasSubstr("data-handle=\"E3\"")));
  EXPECT_EQ(draw({.sheet = "A4", .scale = "1:1", .window = "0,0,171,10"}), "");
  EXPECT_THAT(error, HasSubstr("the window does not fit on A4"));
}

TEST_F(SheetPicture, ManagesNothingAndEverything) {
  EXPECT_THAT(draw({.sheet = "A4"}), HasSubstr("</svg>"));
  EXPECT_EQ(note, "A4 at 1:1");
  run(R"(("POINT" (1e300 1e300) ""))");
  EXPECT_THAT(draw({.sheet = "A4"}), HasSubstr("data-handle=\"E1\""));
  run(R"(("LINE" (-1e308 0) (1e308 0) ""))");
  EXPECT_EQ(draw({.sheet = "A0"}), "");
  EXPECT_THAT(error, HasSubstr("does not fit on A0"));
}

TEST_F(SheetPicture, CutsLongNamesInItsTitleBlock) {
  const auto page = readPage({.sheet = "A4"}, "", error);
  std::string name;
  for (int n = 0; n < 100; ++n) name += "\xC3\xA9";
  const auto picture = drawSheet(drawing, *page->sheet, {}, name, error);
  ASSERT_TRUE(picture.has_value());
  EXPECT_THAT(picture->svg, Not(HasSubstr(name)));
  EXPECT_THAT(picture->svg, HasSubstr("\xC3\xA9..</text>"));
  EXPECT_TRUE(renderPng(picture->svg, error).has_value()) << error;
}

std::uint32_t bigEndian(const std::string& bytes, std::size_t at) {
  std::uint32_t value = 0;
  for (std::size_t n = 0; n < 4; ++n)
    value = value << 8 | static_cast<unsigned char>(bytes[at + n]);
  return value;
}

TEST_F(SheetPicture, BecomesAPngThatKnowsItsResolution) {
  run(R"(("LINE" (0 0) (100 50) ""))");
  const auto png = renderPng(draw({.sheet = "A4"}), error);
  ASSERT_TRUE(png.has_value()) << error;
  EXPECT_EQ(bigEndian(*png, 16), 1654u);  // 210 mm are 1653.5 pixels.
  EXPECT_EQ(bigEndian(*png, 20), 2339u);
  EXPECT_EQ(png->substr(37, 4), "pHYs");
  EXPECT_EQ(bigEndian(*png, 41), 7874u);  // For each metre: 200 for each inch.
  EXPECT_EQ(bigEndian(*png, 50), 0x6ED0753Eu);
  const auto plain = renderPng(drawPicture({}, drawing, emptySheet().context, {}), error);
  ASSERT_TRUE(plain.has_value()) << error;
  EXPECT_EQ(plain->find("pHYs"), std::string::npos);
  EXPECT_EQ(bigEndian(*plain, 16), 1120u);
}

class PdfFile : public SheetPicture {
 protected:
  ~PdfFile() override { std::filesystem::remove(path_); }

  // The output of a program of poppler-utils for a PDF.
  [[nodiscard]] std::string ask(const std::string& program, const std::string& pdf) const {
    std::ofstream(path_, std::ios::binary) << pdf;
    return runCommand(program + " '" + path_.string() + "'" + (program == "pdftotext" ? " -" : ""))
        .text;
  }

 private:
  std::filesystem::path path_ =
      std::filesystem::temp_directory_path() / ("lisp_pdf_test." + std::to_string(::getpid()));
};

TEST_F(PdfFile, HasTheSizeOfTheSheetAndItsTexts) {
  run(R"(("LINE" (0 0) (100 50) "" "TEXT" (10 40) 5 0 "%%c20 plate"))");
  const auto pdf = renderPdf(draw({.sheet = "A4", .scale = "1:1"}), error);
  ASSERT_TRUE(pdf.has_value()) << error;
  EXPECT_TRUE(pdf->starts_with("%PDF-"));
  EXPECT_THAT(ask("pdfinfo", *pdf), HasSubstr("Page size:       595.276 x 841.89 pts (A4)"));
  EXPECT_THAT(ask("pdfinfo", *pdf), HasSubstr("Pages:           1"));
  const std::string text = ask("pdftotext", *pdf);
  for (const char* const word : {"20 plate", "flange.lsp", "1:1", "mm", "A4"}) {
    EXPECT_THAT(text, HasSubstr(word));
  }
}

TEST_F(PdfFile, HasTheSameBytesEachTimeAndNoDate) {
  run(R"(("CIRCLE" (0 0) 10 "HATCH" "NET" 2 30 "L" "" "TEXT" (10 40) 5 0 "plate"))");
  const std::string svg = draw({.sheet = "A3"});
  const auto first = renderPdf(svg, error);
  ASSERT_TRUE(first.has_value()) << error;
  EXPECT_EQ(first->find("CreationDate"), std::string::npos);
  EXPECT_THAT(ask("pdfinfo", *first), Not(HasSubstr("CreationDate")));
  ::sleep(1);
  EXPECT_EQ(renderPdf(svg, error), first);
}

TEST_F(PdfFile, IsMadeOfOtherPicturesToo) {
  run(R"(("LINE" (0 0) (100 50) ""))");
  const auto pdf = renderPdf(drawPicture({}, drawing, emptySheet().context, {}), error);
  ASSERT_TRUE(pdf.has_value()) << error;
  EXPECT_THAT(ask("pdfinfo", *pdf), HasSubstr("Page size:       840 x "));
  EXPECT_FALSE(renderPdf("no picture", error).has_value());
  EXPECT_THAT(error, HasSubstr("the picture cannot be rendered: "));
  EXPECT_FALSE(renderPdf(std::string(kRenderedSizeMax + 1, ' '), error).has_value());
  EXPECT_EQ(error, "the picture has more than 16 MiB of shapes to render; write it as .svg");
}

}  // namespace
}  // namespace lisp_worker::console
