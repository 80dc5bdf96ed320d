#include "console/check_calls.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace lisp_worker::console {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

// "line:column message" of each finding.
std::vector<std::string> findingsIn(const std::string& text) {
  std::vector<std::string> lines;
  for (const check::Finding& finding : checkCalls(std::vector{explain::readProgram("p", text)})) {
    const explain::Place place = finding.program->source.placeOf(finding.begin);
    lines.push_back(std::to_string(place.line) + ":" + std::to_string(place.column) + " " +
                    finding.message);
  }
  return lines;
}

TEST(CheckCalls, FindsWhatTheDrawingWouldRefuse) {
  struct Row {
    const char* text;
    const char* finding;
  };
  const Row rows[] = {
      {"(COMMAND \"CIRCEL\" '(0 0) 5)", "1:10 COMMAND would be refused: nothing done: there is no"},
      {"(COMMAND \"CIRCEL\" P 5)", "1:10 COMMAND would be refused: nothing done: there is no"},
      {"(COMMAND \"CIRCLE\" '(0 0) -5)",
       "1:26 COMMAND would be refused: nothing done: CIRCLE: group 40 needs a number above 0"},
      {"(COMMAND \"LINE\" (LIST 0 0))",
       "1:1 COMMAND would be refused: nothing done: LINE: needs another point"},
      {"(DEFUN F ()\n  (COMMAND \"TEXT\" \"0,0\" 5 0))",
       "2:3 COMMAND would be refused: nothing done: TEXT: needs a text"},
      {"(ENTMAKE '((0 \"CIRCLE\") (10 (0 0))))",
       "1:10 ENTMAKE would be refused: not made: CIRCLE needs a group 40, radius"},
      {"(SETQ R -5) (COMMAND \"CIRCLE\" '(0 0) R)",
       "1:38 COMMAND would be refused: nothing done: CIRCLE: group 40 needs a number above 0"},
      {"(COMMAND \"LINE\" '(0 0) '(5 5) \"\" \"CIRCEL\" '(0 0) 5)",
       "1:34 COMMAND would be refused: added E1; then nothing: there is no command CIRCEL"},
      {"(SETQ P '(1 2))\n(ENTMAKE (LIST '(0 \"CIRCLE\") (LIST 10 P) '(40 -1)))",
       "2:10 ENTMAKE would be refused: not made: group 40 needs a number above 0"},
      {"(ENTMAKE (LIST '(0 \"CIRCEL\") (LIST 10 (GETPOINT \"At: \")) (LIST 40 R)))",
       "1:10 ENTMAKE would be refused: not made: "},
      {"(ENTMAKE (LIST '(0 \"CIRCLE\") (LIST 10 P) '(40 5) '(99 1)))",
       "1:10 no entity has a group 99"},
      {"(ENTMAKEX (LIST '(0 \"POLYLINE\") '(10 (0 0)) '(10 (1 1)) '(43 1)))",
       "1:11 ENTMAKEX would be refused: not made: group 43: widths are not drawn"},
  };
  for (const Row& row : rows) {
    EXPECT_THAT(findingsIn(row.text), ElementsAre(StartsWith(row.finding))) << row.text;
  }
}

TEST(CheckCalls, FindsNothingWhereItCannotKnow) {
  for (const char* const text :
       {"(COMMAND \"CIRCLE\" P 5)", "(COMMAND \"circle\" \"0,0\" 5)", "(COMMAND NAME)", "(COMMAND)",
        "(COMMAND \"ERASE\" \"E7\" \"\")",
        "(ENTMAKE (LIST '(0 \"CIRCLE\") (LIST 10 P) (LIST C 5)))",
        "(ENTMAKE (CONS '(0 \"CIRCLE\") G))", "(COMMAND \"LAYER\" \"M\" \"A\" \"\")", "(ENTMAKE G)",
        "'(COMMAND \"NONE\")", "(COMMAND \"POINT\" \"0,0\" \"\" \"ERASE\" \"L\" \"\")",
        "(COMMAND \"\")"}) {
    EXPECT_THAT(findingsIn(text), IsEmpty()) << text;
  }
}

TEST(CheckCalls, FindsAProgramThatIsTooLong) {
  EXPECT_THAT(findingsIn("1" + std::string(1048575, ' ')), IsEmpty());
  EXPECT_THAT(findingsIn("1" + std::string(1048576, ' ')),
              ElementsAre(StartsWith("1:1 the program is too long to send: it has 1048577 bytes")));
}

}  // namespace
}  // namespace lisp_worker::console
