// A program is some blocks with names of their own. In a block, % is the block's number, N a number
// as an expression, M another, P a point: '#N', '#M' and '#P' are filled in.

#include "testing/generators/right_programs.h"

#include <cstddef>

namespace lisp_worker::testing_support {
namespace {

constexpr const char* kBlocks[] = {
    "(SETQ A% #N)\n(SETQ B% (* A% #M))\n(LIST A% B%)\n",
    "(DEFUN AREA% (W H / R)\n  (SETQ R (* W H))\n  (IF (> R 100) 100 R))\n(AREA% #N #M)\n",
    "(DEFUN FACT% (N)\n  (IF (<= N 1) 1 (* N (FACT% (- N 1)))))\n(FACT% 7)\n",
    "(SETQ I% 0)\n(WHILE (< I% 4)\n  (COMMAND \"CIRCLE\" (LIST I% #N) 3)\n  (SETQ I% (1+ I%)))\n",
    "(SETQ P% (GETPOINT \"Centre: \"))\n(IF P% (COMMAND \"CIRCLE\" P% 5) (COMMAND \"POINT\" #P))\n",
    "(SETQ S% (SSGET \"X\" '((0 \"CIRCLE\"))))\n(SETQ I% 0)\n(IF S%\n"
    "  (WHILE (< I% (SSLENGTH S%))\n    (SETQ D% (ENTGET (SSNAME S% I%)))\n"
    "    (IF D% (ENTMOD D%))\n    (SETQ I% (1+ I%))))\n",
    "(DEFUN COUNT% (/ S)\n  (IF (SETQ S (SSGET)) (SSLENGTH S) 0))\n(+ (COUNT%) #N)\n",
    "(SETQ S% (SSGET \"L\"))\n(IF (NOT S%) 0 (SSLENGTH S%))\n",
    "(SETQ L% '())\n(SETQ I% 0)\n(WHILE (< I% 5)\n  (SETQ L% (CONS (* I% #N) L%) I% (1+ I%)))\n"
    "(SETQ SUM% 0)\n(WHILE (> (LENGTH L%) 0)\n  (SETQ SUM% (+ SUM% (CAR L%)) L% (CDR L%)))\nSUM%\n",
    "(ENTMAKE (LIST '(0 \"CIRCLE\") '(8 \"HOLES\") (LIST 10 #P) (LIST 40 (+ 1 (* #N #N)))))\n",
    "(ENTMAKE '((0 \"TEXT\") (10 (0 0)) (40 2.5) (1 \"LABEL\") (50 1.5707963)))\n",
    "(SETQ COUNT% 6)\n(SETQ I% 0)\n(WHILE (< I% COUNT%)\n"
    "  (COMMAND \"POINT\" (POLAR #P (* I% (/ 6.283185307 COUNT%)) 20))\n"
    "  (SETQ I% (+ I% 1)))\n",
    "(SETQ X% \"name\")\n(PRINC X%)\n(SETQ X% #N)\n(+ X% 1)\n",
    "(IF (> #N #M) (SETQ Y% 5) (SETQ Y% (- #N 1)))\n(* Y% 2)\n",
    "(SETQ BEST% NIL)\n(SETQ REST% (LIST #N #M 3))\n(WHILE (> (LENGTH REST%) 0)\n"
    "  (IF (OR (NULL BEST%) (> (CAR REST%) BEST%)) (SETQ BEST% (CAR REST%)))\n"
    "  (SETQ REST% (CDR REST%)))\n(IF BEST% (+ BEST% 1))\n",
    "(DEFUN INNER% () (* WIDTH% 2))\n(DEFUN OUTER% (WIDTH%) (+ (INNER%) 1))\n(OUTER% #N)\n",
    "(SETQ TICKS% 0)\n(DEFUN TICK% () (SETQ TICKS% (1+ TICKS%)))\n"
    "(WHILE (< TICKS% 3) (TICK%))\nTICKS%\n",
    "(DEFUN EVEN% (N) (IF (= N 0) T (ODD% (- N 1))))\n"
    "(DEFUN ODD% (N) (IF (= N 0) NIL (EVEN% (- N 1))))\n(EVEN% 10)\n",
    "(DEFUN MIDDLE% (A B)\n  (LIST (/ (+ (CAR A) (CAR B)) 2)\n"
    "        (/ (+ (CAR (CDR A)) (CAR (CDR B))) 2)))\n(MIDDLE% #P #P)\n",
    "(SETQ D% (GETDIST \"Width: \"))\n(SETQ W% (IF D% (* D% 2) #N))\n(LIST W%)\n",
    "(SETQ P% (GETPOINT \"From: \"))\n(SETQ Q% (AND P% (GETPOINT P% \"To: \")))\n"
    "(IF (AND P% Q%)\n  (PROGN (COMMAND \"LINE\" P% Q% \"\") (DISTANCE P% Q%))\n  0)\n",
    "(COMMAND \"LINE\" \"0,0\" #P \"\" \"CIRCLE\" #P 4)\n",
    "(SETQ MODE% \"fast\")\n(IF (EQUAL MODE% \"fast\") #N (PRINC \"slow\"))\n",
    "(DEFUN MARK% (POINT TEXT / HEIGHT)\n  (SETQ HEIGHT 2.5)\n"
    "  (ENTMAKEX (LIST '(0 \"TEXT\") (LIST 10 POINT) (LIST 40 HEIGHT) (LIST 1 TEXT))))\n"
    "(SETQ E% (MARK% #P \"A\"))\n(IF E% (ENTGET E%))\n",
    "(SETQ FOUND% NIL I% 0)\n(WHILE (NOT FOUND%)\n  (SETQ I% (1+ I%))\n"
    "  (IF (> (* I% I%) 50) (SETQ FOUND% I%)))\n(1+ FOUND%)\n",
    "(COMMAND \"LAYER\" \"M\" \"L%\" \"\")\n(ENTMAKE (LIST '(0 \"LINE\") '(10 (0 0)) (LIST 11 "
    "#P)))\n",
    "(SETQ O% (OSNAP #P \"end\"))\n(SETQ AT% (OR O% #P))\n(COMMAND \"POINT\" AT%)\n",
    "(DEFUN HALF% (N) (/ N 2))\n(DEFUN CENTRE% (A B) (LIST (HALF% (+ (CAR A) (CAR B))) (HALF% "
    "#N)))\n"
    "(COMMAND \"POINT\" (CENTRE% #P #P) \"\")\n",
    "(DEFUN SCALED% (V F)\n  (IF (EQUAL F NIL) V (* V F)))\n(+ (SCALED% #N NIL) (SCALED% #M 2))\n",
    "(DEFUN SHOW% (WHAT SIZE)\n  (IF (EQUAL WHAT \"size\") (+ SIZE 1) (PRINC SIZE)))\n"
    "(SHOW% \"size\" #N)\n(SHOW% \"name\" \"plate\")\n",
    "(DEFUN SUM% (L / S)\n  (SETQ S 0)\n  (WHILE (> (LENGTH L) 0)\n    (SETQ S (+ S (CAR L)) L "
    "(CDR "
    "L)))\n  S)\n(* 2 (SUM% (LIST #N #M)))\n",
    "(DEFUN FIRST% (S) (IF S (SSNAME S 0)))\n(SETQ E% (FIRST% (SSGET)))\n(IF E% (ENTGET E%))\n",
    "(DEFUN NOTHING% () NIL)\n(SETQ X% (NOTHING%))\n(IF X% (+ X% 1) 0)\n",
    "(DEFUN DEEP% (N / M)\n  (SETQ M (* N 2))\n  (IF (< N 3)\n    (PROGN (SETQ M (+ M 1)) (DEEP% "
    "(1+ N)))\n"
    "    M))\n(DEEP% 0)\n",
};

class RightMaker {
 public:
  explicit RightMaker(Random& random) : random_(random) {}

  std::string make() {
    std::string text = "; A program.\n";
    for (std::size_t count = 1 + random_.below(6); count != 0; --count) {
      text += filled(random_.pick(kBlocks), ++number_);
    }
    return text;
  }

 private:
  std::string filled(std::string_view block, std::size_t number) {
    std::string text;
    for (std::size_t n = 0; n < block.size(); ++n) {
      const bool is_hole = block[n] == '#' && n + 1 < block.size();
      if (is_hole) {
        text += block[++n] == 'P' ? point() : numberText(2);
      } else if (block[n] == '%') {
        text += std::to_string(number);
      } else {
        text += block[n];
      }
    }
    return text;
  }

  std::string constant() { return std::to_string(1 + random_.below(20)); }

  std::string point() {
    return random_.chance(1, 2) ? "'(" + constant() + " " + constant() + ")"
                                : "(LIST " + numberText(1) + " " + numberText(1) + ")";
  }

  // Any number, none of them a divisor.
  std::string numberText(int fuel) {
    if (fuel == 0 || random_.chance(1, 2)) return constant();
    const std::string a = numberText(fuel - 1);
    const std::string b = numberText(fuel - 1);
    switch (random_.below(6)) {
      case 0:
        return "(+ " + a + " " + b + ")";
      case 1:
        return "(- " + a + " " + b + ")";
      case 2:
        return "(* " + a + " " + b + ")";
      case 3:
        return "(/ " + a + " " + constant() + ")";
      case 4:
        return "(IF (< " + a + " " + b + ") " + a + " " + b + ")";
      default:
        return "(DISTANCE '(0 0) (LIST " + a + " " + b + "))";
    }
  }

  Random& random_;
  std::size_t number_ = 0;
};

}  // namespace

std::string makeRightProgram(Random& random) { return RightMaker(random).make(); }

std::string answerForRight(std::string_view call, Random& random) {
  if (call == "COMMAND" || random.chance(1, 4)) return "nil";
  if (call == "SSGET") return "($KVSEL \"E1\" \"E2\")";
  if (call == "GETDIST") return "12.5";
  if (call == "ENTMAKEX") return "\"E7\"";
  if (call == "ENTGET" || call == "ENTMOD" || call == "ENTMAKE") {
    return "((-1 \"E1\") (0 \"CIRCLE\") (10 (1 2 0)) (40 3))";
  }
  return "(10 20 0)";
}

}  // namespace lisp_worker::testing_support
