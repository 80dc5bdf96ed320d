// A puzzle is a text in which one byte stands before the form that the answer must name, and
// another before the line that is asked about. Lines that have nothing to do with it are put
// between, and what is done is done in functions, loops and branches.

#include "testing/generators/puzzling_programs.h"

#include <cstddef>
#include <utility>

namespace lisp_worker::testing_support {
namespace {

constexpr char kRightForm = '\x01';
constexpr char kLineAskedAbout = '\x02';

using Words = std::vector<std::string>;

std::string right(const std::string& form) { return kRightForm + form; }

std::string askedLine() {
  return std::string(1, kLineAskedAbout) + "(COMMAND \"CIRCLE\" '(0 0) 5)";
}

// The parts that puzzles have in common.
class Pieces {
 public:
  explicit Pieces(Random& random) : random_(random) {}

  Random& random() { return random_; }

  std::string newName() {
    static constexpr const char* kNames[] = {"RADIUS", "WIDTH", "P", "TOTAL", "HOLE-COUNT", "A"};
    return random_.pick(kNames) + std::string("-") + std::to_string(++name_count_);
  }

  std::string number(int low, int high) { return std::to_string(random_.between(low, high)); }

  // The statement in its line, evaluated once.
  std::string done(const std::string& statement) {
    const std::string name = newName();
    switch (random_.below(6)) {
      case 0:
        return "(PROGN\n  " + statement + ")\n";
      case 1:
        return "(IF (< 1 2)\n  " + statement + ")\n";
      case 2:
        return "(DEFUN " + name + " (X)\n  " + statement + ")\n" + others() + "(" + name + " 1)\n";
      case 3:
        return "(DEFUN " + name + " (X)\n  (IF (> X 0)\n    (PROGN " + statement + ")))\n(" + name +
               " -1)\n(" + name + " 1)\n";
      default:
        return statement + "\n";
    }
  }

  std::string notDone(const std::string& statement) {
    const std::string name = newName();
    return random_.chance(1, 2) ? "(DEFUN " + name + " ()\n  " + statement + ")\n"
                                : "(IF (< 2 1)\n  " + statement + ")\n";
  }

  // Lines that have nothing to do with it; now and then many steps.
  std::string others() {
    std::string text;
    while (random_.chance(1, 2)) {
      const std::string name = newName();
      switch (random_.below(6)) {
        case 0:
          text += "; a comment (with a bracket\n";
          break;
        case 1:
          text += "\n";
          break;
        case 2:
          text += "(SETQ " + name + " (+ " + number(1, 9) + " 2))\n";
          break;
        case 3:
          text += "(DEFUN " + name + " (A / B)\n  (SETQ B (* A 2))\n  B)\n(" + name + " 4)\n";
          break;
        default: {
          const std::string passes = random_.chance(1, 60) ? "4000" : number(0, 9);
          text += "(SETQ " + name + " 0)\n(WHILE (< " + name + " " + passes + ")\n  (SETQ " + name +
                  " (1+ " + name + ")))\n";
        }
      }
    }
    return text;
  }

 private:
  Random& random_;
  std::size_t name_count_ = 0;
};

// --- Who set this ------------------------------------------------------------------------------

PuzzlingProgram overwritten(Pieces& pieces) {
  const std::string name = pieces.newName();
  std::string text = pieces.done("(SETQ " + name + " 1)") + pieces.others();
  text += pieces.done(right("(SETQ " + name + " 99)")) + pieces.others();
  text += pieces.notDone("(SETQ " + name + " 5)");
  return {text, "overwritten", "goto end", "why " + name, {"set by"}, "", ""};
}

PuzzlingProgram setInALoop(Pieces& pieces) {
  const std::string name = pieces.newName();
  const std::string count = pieces.newName();
  const std::string text = "(SETQ " + name + " 0 " + count + " 0)\n" + pieces.others() +
                           "(WHILE (< " + count + " " + pieces.number(1, 9) + ")\n  (SETQ " +
                           count + " (1+ " + count + "))\n  " +
                           right("(SETQ " + name + " (* 2 " + count + "))") + ")\n";
  return {text, "set in a loop", "goto end", "why " + name, {"set by"}, "", ""};
}

PuzzlingProgram setInABranch(Pieces& pieces) {
  const std::string name = pieces.newName();
  const std::string size = pieces.newName();
  const bool is_then = pieces.random().chance(1, 2);
  const std::string one = "(SETQ " + name + " 1)";
  const std::string two = "(SETQ " + name + " 2)";
  const std::string text = "(SETQ " + size + (is_then ? " 20" : " 3") + ")\n" + pieces.others() +
                           pieces.done("(IF (> " + size + " 5)\n  " + (is_then ? right(one) : one) +
                                       "\n  " + (is_then ? two : right(two)) + ")");
  return {text, "set in a branch", "goto end", "why " + name, {"set by"}, "", ""};
}

// Its author has forgotten to declare the variable as a local one.
PuzzlingProgram setByAFunction(Pieces& pieces) {
  const std::string name = pieces.newName();
  const std::string function = pieces.newName();
  const std::string text = "(DEFUN " + function + " (A / B)\n  (SETQ B (* A 2))\n  " +
                           right("(SETQ " + name + " B)") + "\n  (+ B 1))\n" + pieces.others() +
                           "(SETQ " + name + " 7)\n" + pieces.done("(" + function + " 3)");
  return {text, "set by a function", "goto end", "why " + name, {"set by"}, "", ""};
}

PuzzlingProgram swapped(Pieces& pieces) {
  const std::string function = pieces.newName();
  const std::string point = pieces.newName();
  const std::string size = pieces.newName();
  const bool asks_for_call = pieces.random().chance(1, 2);
  const std::string argument = asks_for_call ? point : right(point);
  const std::string call = "(" + function + " " + argument + " " + size + ")";
  const std::string text = "(DEFUN " + function +
                           " (LENGTH1 CORNER)\n  (+ LENGTH1 (CAR CORNER)))\n" + pieces.others() +
                           "(SETQ " + point + " '(1 2) " + size + " 5)\n" +
                           pieces.done(asks_for_call ? right(call) : call);
  return {text,
          "swapped arguments",
          "goto error",
          "why LENGTH1",
          {asks_for_call ? "passed by" : "value"},
          "",
          ""};
}

// The value goes through some variables, functions and branches.
PuzzlingProgram handedOn(Pieces& pieces) {
  std::string text;
  std::string origin = pieces.random().pick({"(CAR '(7 8))", "5", "(LIST 1 2)", "(* 2 3)",
                                             "\"text\"", "(GETDIST \"How long: \")", "(NOT T)"});
  if (origin.starts_with("(GETDIST")) text += ";@ answer GETDIST 12\n";
  std::string from = pieces.newName();
  text += pieces.others() + pieces.done("(SETQ " + from + " " + right(origin) + ")");
  for (std::size_t steps = 1 + pieces.random().below(4); steps > 0; --steps) {
    const std::string to = pieces.newName();
    const std::string function = pieces.newName();
    switch (pieces.random().below(4)) {
      case 0:
        text += "(DEFUN " + function + " (A)\n  (+ 1 2)\n  A)\n" + pieces.others() + "(SETQ " + to +
                " (" + function + " " + from + "))\n";
        break;
      case 1:
        text += "(SETQ " + to + " (IF (< 1 2) " + from + " 0))\n";
        break;
      case 2:
        text += "(SETQ " + to + " (PROGN 1 " + from + "))\n";
        break;
      default:
        text += pieces.done("(SETQ " + to + " " + from + ")");
    }
    text += pieces.others();
    from = to;
  }
  return {text, "handed on", "goto end", "why " + from, {"value", "from"}, "", ""};
}

// --- Why is it nil -----------------------------------------------------------------------------

PuzzlingProgram misspelt(Pieces& pieces) {
  const std::string name = pieces.newName();
  const std::string wrong = name + "S";
  const std::string text =
      "(SETQ " + name + " 5)\n" + pieces.others() + pieces.done("(* 2 " + wrong + ")");
  return {text, "misspelt", "goto error", "why " + wrong, {}, "", "nothing in this run assigns it"};
}

PuzzlingProgram noElse(Pieces& pieces) {
  const std::string name = pieces.newName();
  const std::string size = pieces.newName();
  const bool asks_for_condition = pieces.random().chance(1, 2);
  const std::string condition = "(> " + size + " 5)";
  const std::string branch =
      "(IF " + (asks_for_condition ? right(condition) : condition) + " (LIST " + size + "))";
  const std::string text =
      "(SETQ " + size + " 3)\n" + pieces.others() +
      pieces.done("(SETQ " + name + " " + (asks_for_condition ? branch : right(branch)) + ")") +
      pieces.others();
  return {text,
          "no else",
          "goto end",
          "why " + name,
          asks_for_condition ? Words{"where"} : Words{"value"},
          "",
          ""};
}

PuzzlingProgram endsInALoop(Pieces& pieces) {
  const std::string name = pieces.newName();
  const std::string function = pieces.newName();
  const std::string loop = "(WHILE (> N 0)\n    (SETQ R (+ R N) N (1- N)))";
  const std::string text = "(DEFUN " + function + " (N / R)\n  (SETQ R 0)\n  " + right(loop) +
                           ")\n" + pieces.others() + "(SETQ " + name + " (" + function + " " +
                           pieces.number(1, 6) + "))\n";
  return {text, "ends in a loop", "goto end", "why " + name, {"from", "value"}, "", ""};
}

PuzzlingProgram neverAssigned(Pieces& pieces) {
  const std::string function = pieces.newName();
  const std::string text = "(DEFUN " + function +
                           " (N / R)\n  (WHILE (< N 0)\n    (SETQ R N N (1+ N)))\n  (+ R 1))\n" +
                           pieces.others() + pieces.done(right("(" + function + " 3)"));
  return {text, "never assigned", "goto error", "why R", {"local of"}, "", ""};
}

PuzzlingProgram listTooShort(Pieces& pieces) {
  const std::string points = pieces.newName();
  const std::string name = pieces.newName();
  const bool asks_for_rest = pieces.random().chance(1, 2);
  const std::string rest = "(CDR (CDR " + points + "))";
  const std::string first = "(CAR " + (asks_for_rest ? right(rest) : rest) + ")";
  const std::string text =
      "(SETQ " + points + " '((1 2) (3 4)))\n" + pieces.others() +
      pieces.done("(SETQ " + name + " " + (asks_for_rest ? first : right(first)) + ")");
  return {text,
          "a list too short",
          "goto end",
          "why " + name,
          asks_for_rest ? Words{"where"} : Words{"value"},
          "",
          ""};
}

PuzzlingProgram noAnswer(Pieces& pieces) {
  const std::string name = pieces.newName();
  const std::string other = pieces.newName();
  const bool picks = pieces.random().chance(1, 2);
  const std::string call = picks ? "(GETPOINT \"Where: \")" : "(SSGET \"X\" '((8 \"NONE\")))";
  const std::string text = (picks ? ";@ answer GETPOINT nil\n" : "") + pieces.others() +
                           pieces.done("(SETQ " + name + " " + right(call) + ")") +
                           pieces.others() + "(SETQ " + other + " " + name + ")\n";
  return {text, "no answer", "goto end", "why " + other, {"from", "value"}, "", ""};
}

// --- Which form drew this ----------------------------------------------------------------------

// Several forms that draw, some of them again and again; one entity of one of them.
PuzzlingProgram drawn(Pieces& pieces) {
  const std::size_t form_count = 2 + pieces.random().below(4);
  const std::size_t asked_form = pieces.random().below(form_count);
  std::size_t drawn_count = 0;
  std::size_t asked_entity = 0;
  bool asks_for_call = false;
  std::string text;
  for (std::size_t form = 0; form < form_count; ++form) {
    const bool is_asked = form == asked_form;
    const std::size_t times = 1 + pieces.random().below(4);
    if (is_asked) asked_entity = drawn_count + 1 + pieces.random().below(times);
    drawn_count += times;
    const std::string draws =
        "(COMMAND \"CIRCLE\" '(" + pieces.number(0, 99) + " 0) " + pieces.number(1, 9) + ")";
    if (pieces.random().chance(1, 2)) {
      const std::string count = pieces.newName();
      text += "(SETQ " + count + " 0)\n(WHILE (< " + count + " " + std::to_string(times) + ")\n  " +
              (is_asked ? right(draws) : draws) + "\n  (SETQ " + count + " (1+ " + count + ")))\n";
    } else {
      const std::string function = pieces.newName();
      const std::string call = "(" + function + ")";
      asks_for_call = is_asked ? pieces.random().chance(1, 2) : asks_for_call;
      const std::size_t asked_call = drawn_count - asked_entity;
      text += "(DEFUN " + function + " ()\n  " +
              (is_asked && !asks_for_call ? right(draws) : draws) + "\n  (+ 1 1))\n";
      for (std::size_t left = times; left > 0; --left) {
        const bool is_right = is_asked && asks_for_call && left - 1 == asked_call;
        text += pieces.others() + (is_right ? right(call) : call) + "\n";
      }
    }
    text += pieces.others();
  }
  return {text,
          "drawn",
          "goto end",
          "why entity E" + std::to_string(asked_entity),
          asks_for_call ? Words{"in"} : Words{"added"},
          "",
          ""};
}

PuzzlingProgram changed(Pieces& pieces) {
  const bool erases = pieces.random().chance(1, 2);
  const std::string change =
      erases ? "(COMMAND \"ERASE\" \"E2\" \"\")" : "(COMMAND \"MOVE\" \"E2\" \"\" '(0 0) '(5 0))";
  const std::string text = "(COMMAND \"CIRCLE\" '(0 0) 1)\n(COMMAND \"CIRCLE\" '(9 0) 1)\n" +
                           pieces.others() + pieces.done(right(change)) + pieces.others() +
                           "(COMMAND \"MOVE\" \"E1\" \"\" '(0 0) '(5 0))\n";
  return {text, "changed", "goto end", "why entity E2", {erases ? "erased" : "changed"}, "", ""};
}

// --- Why was nothing drawn ---------------------------------------------------------------------

// Conditions inside each other, one of which does not hold.
PuzzlingProgram conditionFalse(Pieces& pieces) {
  const std::size_t depth = 1 + pieces.random().below(4);
  const std::size_t false_at = pieces.random().below(depth);
  std::string text;
  std::string begin;
  std::string end;
  for (std::size_t n = 0; n < depth; ++n) {
    const std::string name = pieces.newName();
    text += "(SETQ " + name + (n == false_at ? " 3)\n" : " 30)\n") + pieces.others();
    const std::string condition = "(> " + name + " 5)";
    begin += "(IF " + (n == false_at ? right(condition) : condition) + "\n  ";
    end += pieces.random().chance(1, 2) ? ")" : "\n  (+ 1 2))";
  }
  text += pieces.done(begin + askedLine() + end);
  return {text, "a condition", "goto end", "why not", {"condition"}, "", ""};
}

PuzzlingProgram neverCalled(Pieces& pieces) {
  const std::string function = pieces.newName();
  const std::string text = pieces.others() +
                           right("(DEFUN " + function + " ()\n  " + askedLine() + ")") + "\n" +
                           pieces.others();
  return {text, "never called", "goto end", "why not", {}, "", "(%), which was not called"};
}

PuzzlingProgram neverEntered(Pieces& pieces) {
  const std::string count = pieces.newName();
  const std::string text =
      "(SETQ " + count + " " + pieces.number(5, 9) + ")\n" + pieces.others() +
      pieces.done("(WHILE " + right("(< " + count + " 5)") + "\n  " + askedLine() + "\n  (SETQ " +
                  count + " (1+ " + count + ")))");
  return {text, "never entered", "goto end", "why not", {"condition"}, "", ""};
}

PuzzlingProgram endedBefore(Pieces& pieces) {
  const std::string text = pieces.others() + pieces.done(right("(/ 1 0)")) + pieces.others() +
                           askedLine() + "\n" + pieces.others();
  return {text, "ended before", "goto end", "why not", {"at"}, "", ""};
}

PuzzlingProgram shortCut(Pieces& pieces) {
  const std::string size = pieces.newName();
  const bool is_and = pieces.random().chance(1, 2);
  const std::string text = "(SETQ " + size + " 3)\n" + pieces.others() +
                           pieces.done((is_and ? "(AND " + right("(> " + size + " 5)")
                                               : "(OR " + right("(< " + size + " 5)")) +
                                       "\n  " + askedLine() + ")");
  return {text, "cut short", "goto end", "why not", {"condition"}, "", ""};
}

PuzzlingProgram quoted(Pieces& pieces) {
  const std::string text = pieces.others() + "(SETQ " + pieces.newName() + " " + right("'(") +
                           "\n  " + askedLine() + "))\n" + pieces.others();
  return {text, "quoted", "goto end", "why not", {}, "", "it is quoted (%)"};
}

// Takes the marks out of the text, and fills in what they say.
void finish(PuzzlingProgram& program) {
  std::string text;
  std::size_t line = 1;
  std::size_t column = 1;
  for (const char c : program.text) {
    if (c == kRightForm) {
      program.place = "p.lsp:" + std::to_string(line) + ":" + std::to_string(column);
    } else if (c == kLineAskedAbout) {
      program.question += " " + std::to_string(line);
    } else {
      text += c;
      line += c == '\n' ? 1 : 0;
      column = c == '\n' ? 1 : column + 1;
    }
  }
  program.text = std::move(text);
  const std::size_t at = program.words.find('%');
  if (at != std::string::npos) program.words.replace(at, 1, program.place);
}

}  // namespace

PuzzlingProgram makePuzzlingProgram(Random& random) {
  using Maker = PuzzlingProgram (*)(Pieces&);
  static constexpr Maker kMakers[] = {
      overwritten,    setInALoop,  setInABranch,  setByAFunction, swapped,  handedOn, misspelt,
      noElse,         endsInALoop, neverAssigned, listTooShort,   noAnswer, drawn,    changed,
      conditionFalse, neverCalled, neverEntered,  endedBefore,    shortCut, quoted};
  Pieces pieces(random);
  PuzzlingProgram program = random.pick(kMakers)(pieces);
  finish(program);
  return program;
}

}  // namespace lisp_worker::testing_support
