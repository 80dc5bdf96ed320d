#include "testing/faulty_programs.h"

#include <vector>

namespace testing_support {
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
    "\x01(TRANS '(1 2) 0 1)",
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
};

constexpr const char* kSoundForms[] = {
    "(SETQ B (AREA 3 4))\n",
    "(SETQ TEXT \"brackets ) ( and ; no comment\")\n",
    "; an ordinary comment with \"quotes\n",
    "\n",
    "(SETQ N 0)\n(WHILE (< N 5)\n  (SETQ N (1+ N)))\n",
    "(SETQ LIST-OF-POINTS '((0 0) (10 0)\n                       (10 10)))\n",
    "(IF (> B 100)\n    (SETQ B 0)\n    (SETQ B (+ B 1)))\n",
};

std::string replaced(std::string text, const std::string& what, const std::string& with) {
  const std::size_t at = text.find(what);
  return at == std::string::npos ? text : text.replace(at, what.size(), with);
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
    addSoundForms();
    const std::size_t kind = random_.below(100);
    if (kind < 80) {
      addFaultyForm();
    } else if (kind < 96) {
      addUnreadable();
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
      text_ += random_.pick(kSoundForms);
    }
  }

  // A form that fails, at some depth, at the top level, in a function, or in a late round of a
  // loop.
  void addFaultyForm() {
    const std::string fault = random_.pick(kFaultyForms);
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
    program_.begin = text_.find(kMark);
    text_.erase(program_.begin, 1);
    // Where a blank keeps the mark from running into a number's digits, the place is behind it.
    while (text_[program_.begin] == ' ') ++program_.begin;
    program_.end = program_.begin + 1;
    program_.text = text_;
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
        form.erase(random_.pick(closings), 1);
        program_.fault = "a closing parenthesis taken out";
        break;
      }
      case 1:
        form.insert(form.size() - 1, ")");
        program_.fault = "a closing parenthesis too many";
        program_.begin = begin + form.size() - 2;
        break;
      case 2: {
        const char* const word = random_.chance(1, 2) ? "left" : "right";
        form = replaced(form, std::string(word) + "\"", word);
        program_.begin = begin + form.find('"' + std::string(word));
        program_.fault = "a closing quote taken out";
        break;
      }
      default:
        text_ += form;
        addSoundForms();
        program_ = {text_ + "'\n; the end\n", "an apostrophe with nothing behind", text_.size(),
                    text_.size() + 1};
        return;
    }
    text_ += form + "\n";
    const bool is_form = program_.begin == 0;
    if (is_form) program_.begin = begin;
    program_.end = is_form ? begin + form.size() : program_.begin + 1;
    text_ += "(SETQ AFTER (AREA 1 2))\n";
    addSoundForms();
    program_.text = text_;
  }

  void addRecursion() {
    program_.begin = text_.size();
    text_ += "(DEFUN DEEPER (X)\n  (IF (< X 0)\n      X\n      (+ 1 (DEEPER (1+ X)))))\n";
    program_.end = text_.size();
    text_ += "(DEEPER 1)\n";
    program_.text = text_;
    program_.fault = "a recursion without end";
  }

  void addEndlessLoop() {
    text_ += "(SETQ N 0)\n";
    program_.begin = text_.size();
    text_ += "(WHILE (< N 10)\n  (SETQ M (1+ N)))\n";
    program_.end = text_.size();
    text_ += "N\n";
    program_.text = text_;
    program_.fault = "a loop without end";
  }

  Random& random_;
  std::string text_;
  FaultyProgram program_;
};

}  // namespace

FaultyProgram makeFaultyProgram(Random& random) { return Maker(random).make(); }

}  // namespace testing_support
