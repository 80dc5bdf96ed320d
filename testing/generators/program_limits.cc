// Programs about one thing: a limit, recursion, the tokens of numbers, contexts.

#include <algorithm>
#include <cstddef>
#include <string>

#include "testing/generators/program_generator.h"
#include "testing/generators/text_generator.h"

namespace lisp_worker::testing_support {

std::string ProgramGenerator::nestedProgram() {
  static constexpr const char* kOpenings[] = {"(PROGN ", "(LIST ",      "(IF T ", "(CAR (LIST ",
                                              "(AND ",   "(OR nil ",    "(NOT ",  "(SETQ X ",
                                              "(CDR ",   "(COMMAND 1 ", "(PRINC "};
  std::string opened;
  std::string closed;
  const int depth = random_.between(120, 132);
  for (int i = 0; i < depth; ++i) {
    const std::string opening =
        random_.chance(1, 3) ? random_.pick(kOpenings) : kOpenings[random_.below(3)];
    opened += opening;
    closed +=
        std::string(static_cast<std::size_t>(std::count(opening.begin(), opening.end(), '(')), ')');
  }
  return opened + (random_.chance(1, 3) ? "" : simple(Sort::Any)) + closed;
}

std::string ProgramGenerator::recursiveProgram() {
  // Calls itself with one less until the count is used up.
  parameters_["R"] = {"N"};
  std::string text = bindings();
  text += random_.chance(1, 2) ? "(DEFUN R (N / A X) (IF (< N 1) " : "(DEFUN R (N) (IF (< N 1) ";
  text += expression(Sort::Number, 2);
  text += random_.chance(1, 2) ? " (+ 1 (R (1- N)))" : " (PROGN " + assignment(2) + " (R (1- N)))";
  text += ")) (R " + std::to_string(random_.between(30, 66));
  return text + ")";
}

std::string ProgramGenerator::endlessProgram() {
  std::string text = bindings();
  text += "(SETQ I 0) (WHILE T " + assignment(2);
  return text + " (SETQ I (1+ I)))";
}

std::string ProgramGenerator::stepLimitProgram() {
  // The loop ends after 249996 steps; what follows decides.
  std::string text = "(SETQ I 0) (WHILE (< I 41665) (SETQ I (1+ I)))";
  for (int i = random_.between(2, 6); i > 0; --i) text += " " + generateNumber(random_);
  return text;
}

std::string ProgramGenerator::tokenProgram() {
  std::string text = "'(";
  for (int i = random_.between(1, 20); i > 0; --i) text += generateNumberLike(random_) + " ";
  return text + ")";
}

// Asks the host, or does not, by what TRANS gives: registering other systems meanwhile makes the
// replay differ.
std::string ProgramGenerator::contextProgram() {
  const std::string point = random_.chance(1, 2) ? "(0 0)" : generatePoint(random_);
  const std::string converted =
      form("TRANS", {"'" + point, std::to_string(random_.between(0, 4)), "0"});
  switch (random_.below(4)) {
    case 0:
      return "(GETPOINT) " + form("ENTGET", {converted}) + " (SSGET)";
    case 1:
    case 2:
      return "(IF (= 0 (CAR " + converted + ")) (GETPOINT) 5)";
    default:
      return "(LIST (SSGET) (IF (< 0 (CAR " + converted + ")) (ENTGET 1) (ENTMOD 2)))";
  }
}

}  // namespace lisp_worker::testing_support
