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
      {"(COMMAND \"-RECTANG\" P Q)",
       "1:10 COMMAND would be refused: nothing done: there is no command -RECTANG: PLINE with "
       "four"},
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
      {"(COMMAND \"CIRCLE\" \"0,0\" 5 7)",
       "1:27 COMMAND would be refused: added E2; then nothing: CIRCLE: takes no more, and 7 names "
       "no"},
      {"(COMMAND \"CIRCLE\" \"0,0\" 5 \"D\")",
       "1:27 COMMAND would be refused: added E2; then nothing: CIRCLE takes no more, and there is "
       "no "
       "command D: "},
      {"(COMMAND \"CIRCLE\" \"x\" R)",
       "1:19 COMMAND would be refused: nothing done: CIRCLE: needs a centre, not \"x\""},
      {"(COMMAND \"LAYER\" \"FREEZE\" \"A\" \"\")",
       "1:18 COMMAND would be refused: nothing done: LAYER: needs M, S or N and a name, "},
      {"(COMMAND \"LAYER\" \"C\" \"pink\" NAMES \"\")",
       "1:22 COMMAND would be refused: nothing done: LAYER: needs a colour"},
      {"(COMMAND \"TEXT\" \"J\" \"M\" P 5 0 \"A\")",
       "1:21 COMMAND would be refused: nothing done: TEXT: needs L, C or R after J, not \"M\""},
      {"(COMMAND \"HATCH\" \"DOTS\" S \"\")",
       "1:18 COMMAND would be refused: nothing done: HATCH: needs SOLID, LINE or NET, not "
       "\"DOTS\""},
      {"(COMMAND \"ZOOM\" \"IN\")",
       "1:17 COMMAND would be refused: nothing done: ZOOM: needs E, A, W or C, not \"IN\""},
      {"(COMMAND \"MOVE\" S \"\" '(0 0) \"x\")",
       "1:29 COMMAND would be refused: nothing done: MOVE: needs a second point, not \"x\""},
      {"(COMMAND \"SCALE\" (SSGET) \"\" '(0 0) -2)",
       "1:36 COMMAND would be refused: nothing done: SCALE: needs a factor above 0"},
      {"(COMMAND \"MIRROR\" \"W\" P Q \"\" '(0 0))",
       "1:1 COMMAND would be refused: nothing done: MIRROR: needs a second point of the mirror "
       "line"},
      {"(SSGET \"Q\")",
       "1:1 SSGET would be refused: no way of selecting: Q; there are X, A, W, C, L"},
      {"(SSGET \"X\" '((0 . \"CIRCLE\")))",
       "1:1 SSGET would be refused: a group is a list of a code and a value: (0 \"CIRCLE\"), not "},
      {"(SSGET '((0 \"circel\")))", "1:8 this finds nothing: unknown type: CIRCEL"},
      {"(OSNAP P \"tan\")", "1:10 OSNAP would be refused: this host cannot snap to TAN; it knows"},
      {"(ENTMAKE '((0 \"ARC\") (10 (0 0)) (40 5) (50 0) (51 90)))",
       "1:10 ENTMAKE would be refused: not made: group 51 is in radians, and 90 is more than two"},
      {"(COMMAND \"LINE\" '(0 0) '(5 5) \"\" \"CIRCEL\" '(0 0) 5)",
       "1:34 COMMAND would be refused: added E2; then nothing: there is no command CIRCEL"},
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
  for (const char* const text : {"(COMMAND \"CIRCLE\" P 5)",
                                 "(COMMAND \"circle\" \"0,0\" 5)",
                                 "(COMMAND NAME)",
                                 "(COMMAND)",
                                 "(COMMAND \"ERASE\" \"E7\" \"\")",
                                 "(ENTMAKE (LIST '(0 \"CIRCLE\") (LIST 10 P) (LIST C 5)))",
                                 "(ENTMAKE (CONS '(0 \"CIRCLE\") G))",
                                 "(COMMAND \"LAYER\" \"M\" \"A\" \"\")",
                                 "(ENTMAKE G)",
                                 "'(COMMAND \"NONE\")",
                                 "(COMMAND \"POINT\" \"0,0\" \"\" \"ERASE\" \"L\" \"\")",
                                 "(COMMAND \"\")",
                                 "(COMMAND \"CIRCLE\" \"0,0\" 5 \"\")",
                                 "(COMMAND \"CIRCLE\" \"0,0\" 5 X)",
                                 "(COMMAND \"CIRCLE\" \"0,0\" 5 \"CIRCLE\" \"1,1\" 5)",
                                 "(COMMAND \"MOVE\" S \"\" P Q)",
                                 "(COMMAND \"LINE\" \"0,0\" \"5,5\" P \"Close\")",
                                 "(COMMAND \"ERASE\" (SSGET) \"\")",
                                 "(COMMAND \"COPY\" \"E1\" \"\" '(0 0) '(5 5) '(9 9) \"\")",
                                 "(COMMAND \"HATCH\" \"SOLID\" S \"\")",
                                 "(COMMAND \"HATCH\" \"SOLID\" \"L\" \"\")",
                                 "(COMMAND \"layer\" \"make\" \"A\" \"color\" 1 \"A\" \"\")",
                                 "(SSGET \"_x\" '((0 \"CIRCLE,A*\") (8 \"a\")))",
                                 "(SSGET '((0 \"circle\")))",
                                 "(SSGET (F))",
                                 "(OSNAP P \"end,_mid\")",
                                 "(SSGET \"W\" P Q)"}) {
    EXPECT_THAT(findingsIn(text), IsEmpty()) << text;
  }
}

TEST(CheckCalls, FindsWhatALibraryMustNotDo) {
  const auto errorsIn = [](const std::string& text) {
    std::vector<std::string> errors;
    for (const check::Finding& finding : checkLibrary(explain::readProgram("lib.lsp", text))) {
      errors.push_back(std::to_string(finding.begin) + " " + finding.message);
    }
    return errors;
  };
  const std::string asks = " a library must not make host calls";
  EXPECT_THAT(errorsIn("(SETQ P (GETPOINT)) (GETDIST)"), ElementsAre("8" + asks));
  EXPECT_THAT(errorsIn("(IF (SSGET) 1)"), ElementsAre("4" + asks));
  EXPECT_THAT(errorsIn("(DEFUN F () (GETPOINT)) (IF NIL (GETPOINT)) '(SSGET) (AND NIL (SSGET))"),
              IsEmpty());
  EXPECT_THAT(errorsIn("(DEFUN GETPOINT () '(0 0)) (GETPOINT)"), IsEmpty());
  EXPECT_THAT(errorsIn("1" + std::string(1048575, ' ')), IsEmpty());
  EXPECT_THAT(errorsIn("1" + std::string(1048576, ' ')),
              ElementsAre(StartsWith("0 the library is too long to send: it has 1048577 bytes")));
}

TEST(CheckCalls, FindsAProgramThatIsTooLong) {
  EXPECT_THAT(findingsIn("1" + std::string(1048575, ' ')), IsEmpty());
  EXPECT_THAT(findingsIn("1" + std::string(1048576, ' ')),
              ElementsAre(StartsWith("1:1 the program is too long to send: it has 1048577 bytes")));
}

}  // namespace
}  // namespace lisp_worker::console
