// Each fault is a form with a mark (kMark) at the byte that an explanation should show. A random
// program grows around the form; then the mark is taken out and its place noted.

#include "testing/generators/faulty_programs.h"

#include <utility>
#include <vector>

namespace lisp_worker::testing_support {
namespace {

// Stands in front of the byte that the caret should show; taken out at the end.
constexpr char kMark = '\x01';

// Forms whose evaluation fails at the mark.
constexpr const char* kFaultyForms[] = {
    "\x01UNKNOWN-NAME",
    "(+ A \x01UNKNOWN-NAME)",
    "(\x01NO-SUCH-FUNCTION A 2)",
    "(\x01NO-SUCH-FUNCTION)",
    "(+ 1 \x01\"text\")",
    "(+ A 2 \x01'B 4)",
    "(- 5 \x01NIL)",
    "\x01(-)",
    "(* \x01(LIST 1 2) 3)",
    "(/ A \x01T)",
    "(/ A \x01 0)",
    "(/ A \x01ZERO)",
    "(/ A 2 \x01(- A A) 3)",
    "\x01(/)",
    "\x01(1+ 1 2)",
    "(1- \x01\"x\")",
    "(< 1 \x01\"2\")",
    "\x01(< 1 2 3)",
    "\x01(= 1)",
    "(>= \x01(LIST) 1)",
    "\x01(EQ 1)",
    "\x01(EQUAL 1 2 3)",
    "\x01(CONS 1)",
    "(LENGTH \x01NIL)",
    "(LENGTH \x01\"text\")",
    "\x01(LENGTH)",
    "(SSLENGTH \x01'(1 2))",
    "\x01(SSLENGTH)",
    "(SSNAME \x01NIL 0)",
    "(SSNAME '($KVSEL) \x01\"0\")",
    "\x01(SSNAME '($KVSEL))",
    "\x01(DISTANCE '(0 0))",
    "(DISTANCE '(0 0) \x01 5)",
    "(ANGLE \x01'(0 \"0\") '(1 1))",
    "\x01(ANGLE '(0 0) '(1 1) '(2 2))",
    "(POLAR \x01NIL 0 5)",
    "(POLAR '(1 2) \x01\"0\" 5)",
    "(POLAR '(1 2) 0 \x01NIL)",
    "\x01(POLAR '(1 2) 0)",
    "\x01(TRANS '(1 2) 0)",
    "\x01(QUOTE A B)",
    "\x01(SETQ A)",
    "\x01(SETQ A 1 B)",
    "(SETQ A 1 \x01\"B\" 2)",
    "(SETQ \x01'A 1)",
    "\x01(IF T)",
    "\x01(IF A 2 3 4)",
    "\x01(WHILE)",
    "\x01(DEFUN G (X))",
    "(DEFUN \x01\"G\" (X) X)",
    "(DEFUN G \x01X X)",
    "(DEFUN G (X \x01 1) X)",
    "(DEFUN G (X / \x01(Y)) X)",
    "\x01(NOT)",
    "\x01(NULL 1 2)",
    "\x01(AREA 1 2 3 4 5)",
    "\x01(AREA)",
    "(\x01(LIST 1 2) 3)",
    "(\x01\"LIST\" 1)",
    "(\x01 5 1)",
    "(POLAR \x01(GETCORNER '(0 0)) 0 5)",
    "(+ A \x01(GETCORNER '(0 0) \"Corner: \"))",
    "(SSLENGTH \x01(SSGET \"X\" '((8 \"NONE\"))))",
    "(SSNAME \x01(SSGET \"L\") 0)",
    "(SSNAME (SSGET) \x01(ENTGET (SSNAME (SSGET) 0)))",
    "(LENGTH \x01(ENTGET \"E99\"))",
    "(DISTANCE '(0 0) \x01(OSNAP '(5 5) \"end\"))",
    "(* 2 \x01(GETPOINT \"Pick: \"))",
    "(COMMAND \"LINE\" '(0 0) \x01NO-SUCH-POINT \"\")",
    "(ENTMAKE (LIST '(0 \"POINT\") (LIST 10 \x01NO-SUCH-POINT)))",
    "(GETPOINT (/ A \x01 0))",
    "(ENTMOD (\x01NO-SUCH-FUNCTION (ENTGET \"E1\")))",
    "\x01(DISTANCE (GETPOINT))",
    "(AREA (GETDIST \"Width: \") (* 2 \x01(OSNAP (GETPOINT) \"mid\")))",
};

// The same, for a program that runs without a context.
constexpr const char* kContextlessForms[] = {
    "\x01(TRANS '(1 2) 0 1)",
    "\x01(TRANS (GETPOINT) 1 0)",
};

// The same, under faultyContext().
constexpr const char* kContextForms[] = {
    "\x01(TRANS '(1 2) 0 4)",
    "\x01(TRANS (TRANS (GETPOINT) 4 0) 0 4)",
    "(TRANS \x01(GETCORNER '(0 0)) 0 1)",
    "(TRANS '(1 2) \x01\"1\" 0)",
    "(TRANS '(1 2) 1 \x01 5)",
    "(TRANS '(1 2) \x01 -1 9)",
    "\x01(TRANS '(1 2) 1)",
    "(ENTMAKE (LIST '(0 \"POINT\") (LIST 10 (TRANS (GETPOINT) 1 \x01NIL))))",
};

constexpr const char* kWrappers[] = {
    "(LIST 1 %)",
    "(IF (< 1 2) % \"else (\")",
    "(PROGN\n    (SETQ A 2)  ; a \xC3\xA4 comment (\n    %)",
    "(AND A %)",
    "(OR NIL %)",
    "(NOT %)",
    "(CAR (LIST % \"\xE2\x82\xAC\"))",
    "(SETQ B %)",
    "(CONS '(1 2)\n      %)",
    "(AREA % 3)",
    "(PROGN (GETDIST '(0 0)) %)",
    "(ENTMAKE (LIST '(0 \"POINT\")\n               %))",
    "(COMMAND \"CIRCLE\" % 5)",
};

constexpr const char* kSoundForms[] = {
    "(SETQ B (AREA 3 4))\n",
    "(SETQ TEXT \"brackets ) ( and ; no comment\")\n",
    "; an ordinary comment with \"quotes\n",
    "\n",
    "(SETQ N 0)\n(WHILE (< N 5)\n  (SETQ N (1+ N)))\n",
    "(SETQ LIST-OF-POINTS '((0 0) (10 0)\n                       (10 10)))\n",
    "(IF (> B 100)\n    (SETQ B 0)\n    (SETQ B (+ B 1)))\n",
    "(SETQ POINT (GETPOINT \"Pick a point (or two): \"))\n",
    "(COMMAND \"CIRCLE\" '(0 0) A)\n",
    "(SETQ S (SSGET) N 0)\n(WHILE (< N (SSLENGTH S))\n  (SETQ D (ENTGET (SSNAME S N)) N (1+ N)))\n",
};

constexpr const char* kSoundFormsUnderContext[] = {
    "(SETQ CORNER (TRANS '(10 5) 1 0))\n",
    "(ENTMAKE (LIST '(0 \"POINT\") (LIST 10 (TRANS '(1 0) 0 1))))\n",
};

std::string replaced(std::string text, const std::string& what, const std::string& with) {
  const std::size_t at = text.find(what);
  return at == std::string::npos ? text : text.replace(at, what.size(), with);
}

// The beginnings of the lists that hold the byte at `closing` and end in the same line. When that
// parenthesis is missing, each of them may be the one that lacks its end.
std::vector<std::size_t> listsAround(const std::string& form, std::size_t closing) {
  const std::size_t line_end = form.find('\n', closing);
  std::vector<std::size_t> begins;
  std::vector<std::size_t> open;
  for (std::size_t n = 0; n < line_end; ++n) {
    if (form[n] == '(') open.push_back(n);
    if (form[n] != ')') continue;
    if (open.back() < closing && n >= closing) begins.push_back(open.back());
    open.pop_back();
  }
  return begins;
}

// The beginnings of the lists and names in a text that begins at `offset` of a program.
std::vector<std::size_t> formsOf(const std::string& text, std::size_t offset) {
  std::vector<std::size_t> begins;
  for (std::size_t n = 0; n < text.size(); ++n) {
    const bool is_first = n == 0 || text[n - 1] == ' ' || text[n - 1] == '\n' || text[n - 1] == '(';
    if (is_first && text[n] != ' ' && text[n] != '\n') begins.push_back(offset + n);
  }
  return begins;
}

class Maker {
 public:
  explicit Maker(Random& random) : random_(random) {}

  FaultyProgram make() {
    text_ =
        "; A program.\n(SETQ A 7 B 1 ZERO 0)\n\n"
        "(DEFUN AREA (WIDTH HEIGHT / RESULT)\n"
        "  (SETQ RESULT (* WIDTH HEIGHT))\n"
        "  RESULT)\n\n";
    program_.has_context = random_.chance(1, 2);
    addSoundForms();
    const std::size_t kind = random_.below(100);
    if (kind < 76) {
      addFaultyForm();
    } else if (kind < 92) {
      addUnreadable();
    } else if (kind < 94) {
      addDivergence();
    } else if (kind < 96) {
      addBadAnswer();
    } else if (kind < 99) {
      addRecursion();
    } else {
      addEndlessLoop();
    }
    return std::move(program_);
  }

 private:
  void addSoundForms() {
    for (std::size_t count = random_.below(5); count != 0; --count) {
      text_ += program_.has_context && random_.chance(1, 4) ? random_.pick(kSoundFormsUnderContext)
                                                            : random_.pick(kSoundForms);
    }
  }

  const char* pickFault() {
    if (!random_.chance(1, 8)) return random_.pick(kFaultyForms);
    return program_.has_context ? random_.pick(kContextForms) : random_.pick(kContextlessForms);
  }

  // A form that fails, at some depth, at the top level, in a function, or in a late round of a
  // loop.
  void addFaultyForm() {
    const std::string fault = pickFault();
    std::string form = fault;
    for (std::size_t count = random_.below(4); count != 0; --count) {
      form = replaced(random_.pick(kWrappers), "%", form);
    }
    switch (random_.below(4)) {
      case 0:
        text_ += form + "\n";
        break;
      case 1:
        text_ += "(DEFUN OUTER (X)\n  (SETQ X (1+ X))\n  " + form + ")\n\n(OUTER 5)\n";
        break;
      case 2:
        text_ += "(DEFUN INNER (X / Y) (SETQ Y X) " + form +
                 ")\n(DEFUN OUTER (X) (LIST (INNER X)))\n(OUTER (OR NIL 5))\n";
        break;
      default:
        text_ += "(SETQ ROUND 0)\n(WHILE (< ROUND 10)\n  (SETQ ROUND (1+ ROUND))\n  (IF (= ROUND " +
                 std::to_string(random_.between(1, 9)) + ")\n      " + form + "))\n";
    }
    addSoundForms();
    std::string shown = fault;
    finish(shown.erase(shown.find(kMark), 1));
  }

  void finish(std::string fault) {
    program_.fault = std::move(fault);
    std::size_t place = text_.find(kMark);
    text_.erase(place, 1);
    // If a blank keeps the mark from running into a number's digits, the place is behind the blank.
    while (text_[place] == ' ') ++place;
    program_.places = {place};
    program_.text = text_;
  }

  // A call whose arguments depend on a coordinate system, which the host moves while a later call
  // waits: the evaluation after that asks for something else.
  void addDivergence() {
    program_.has_context = true;
    // No sound form in front: their calls come first, and some of them depend on the system too.
    text_ = "; A program.\n(SETQ A 7)\n(COMMAND \"CIRCLE\" '(0 0) A)\n";
    text_ += random_.chance(1, 2)
                 ? "(DEFUN MARK (P)\n  \x01(ENTMAKE (LIST '(0 \"POINT\") (LIST 10 P))))\n"
                   "(MARK (TRANS '(10 0) 1 0))\n"
                 : "(COMMAND \"ZOOM\" \"E\") \x01(ENTMAKE (LIST '(8 \"A\")\n"
                   "  (LIST 10 (TRANS '(0 5) 1 0))))\n";
    text_ += "(GETPOINT \"Next: \")\n";
    program_.change_at_call = text_.find("ZOOM") == std::string::npos ? 3 : 4;
    finish("a coordinate system moved while a call waits");
  }

  void addBadAnswer() {
    text_ =
        "; A program.\n(COMMAND \"CIRCLE\" '(0 0) 7)\n(DEFUN PICK () \x01(GETPOINT \"Pick: \"))\n";
    text_ += random_.chance(1, 2) ? "(LIST 1 (PICK))\n" : "(PICK)\n(PICK)\n(SETQ P (PICK))\n";
    program_.bad_answer_at_call = text_.find("LIST 1") == std::string::npos ? 4 : 2;
    finish("an answer that cannot be read");
  }

  void addUnreadable() {
    const std::size_t begin = text_.size();
    std::string form =
        "(DEFUN BROKEN (P Q / R)\n"
        "  (SETQ R (LIST (CAR P) (CAR Q)))\n"
        "  (IF (< (CAR P) 5)\n"
        "      (SETQ R (CONS \"left\" R))\n"
        "      (SETQ R (CONS \"right\" R)))\n"
        "  (LENGTH R))\n";
    switch (random_.below(4)) {
      case 0: {
        std::vector<std::size_t> closings;
        for (std::size_t n = 0; n < form.size(); ++n) {
          if (form[n] == ')') closings.push_back(n);
        }
        const std::size_t closing = random_.pick(closings);
        for (const std::size_t place : listsAround(form, closing)) {
          program_.places.push_back(begin + place);
        }
        form.erase(closing, 1);
        program_.fault = "a closing parenthesis taken out";
        break;
      }
      case 1:
        form.insert(form.size() - 1, ")");
        program_.fault = "a closing parenthesis too many";
        program_.places = {begin + form.size() - 2};
        break;
      case 2: {
        const char* const word = random_.chance(1, 2) ? "left" : "right";
        form = replaced(form, std::string(word) + "\"", word);
        program_.places = {begin + form.find('"' + std::string(word))};
        program_.fault = "a closing quote taken out";
        break;
      }
      default:
        text_ += form;
        addSoundForms();
        program_.places = {text_.size()};
        program_.fault = "an apostrophe with nothing behind";
        program_.text = text_ + "'\n; the end\n";
        return;
    }
    text_ += form + "\n";
    text_ += "(SETQ AFTER (AREA 1 2))\n";
    addSoundForms();
    program_.text = text_;
  }

  void addRecursion() {
    const std::string body = "(IF (< X 0)\n      X\n      (+ 1 (DEEPER (1+ X)))))\n";
    text_ += "(DEFUN DEEPER (X)\n  ";
    program_.places = formsOf(body, text_.size());
    program_.call_place = text_.size() + body.find("(DEEPER");
    text_ += body + "(DEEPER 1)\n";
    program_.text = text_;
    program_.fault = "a recursion without end";
  }

  void addEndlessLoop() {
    text_ += "(SETQ N 0)\n";
    const std::string loop = "(WHILE (< N 10)\n  (SETQ M (1+ N)))\n";
    program_.places = formsOf(loop, text_.size());
    text_ += loop + "N\n";
    program_.text = text_;
    program_.fault = "a loop without end";
  }

  Random& random_;
  std::string text_;
  FaultyProgram program_;
};

}  // namespace

FaultyProgram makeFaultyProgram(Random& random) { return Maker(random).make(); }

std::string answerForFaulty(const client::EvalResult& waiting) {
  const std::string& name = waiting.call_name;
  if (name == "GETPOINT") return "(10 20 0)";
  if (name == "GETDIST") return "5";
  if (name == "SSGET" && waiting.arg_count == 0) return "($KVSEL \"E1\" \"E2\")";
  if (name == "ENTGET" && waiting.text.find("E99") == std::string::npos) {
    return "((-1 \"E1\") (0 \"POINT\") (10 (1 2 0)))";
  }
  return name == "ENTMAKE" ? "T" : "nil";
}

client::CoordContext faultyContext() {
  client::CoordContext context;
  context.id = 1;
  context.systems[1] = {100, 50, 0, 1, -1, 0, 1, 0};
  context.systems[4] = {0, 0, 1, 0, 0, 0, 1, 0};
  return context;
}

client::CoordContext movedContext() {
  client::CoordContext context = faultyContext();
  context.systems[1].origin_x = 500;
  return context;
}

}  // namespace lisp_worker::testing_support
