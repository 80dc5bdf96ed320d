; What drawings on sheets need: outlines, numbers, dimensions, frames. Loads points.lsp.
;
; There is no function that makes a text of a number, so numbers are written digit by digit.
;
;@ load points.lsp

(SETQ DIGIT-TEXTS '("0" "1" "2" "3" "4" "5" "6" "7" "8" "9"))

; A number of at least 0 as a list of digits; what stands behind its point is left out.
(DEFUN DIGITS-OF (N / POWER DIGIT RESULT)
  (SETQ POWER 1 RESULT '())
  (WHILE (<= (* POWER 10) N) (SETQ POWER (* POWER 10)))
  (WHILE (>= POWER 1)
    (SETQ DIGIT 0)
    (WHILE (>= N POWER) (SETQ N (- N POWER) DIGIT (1+ DIGIT)))
    (SETQ RESULT (CONS DIGIT RESULT) POWER (/ POWER 10)))
  (REVERSE RESULT))

; N rounded and written around P.
(DEFUN MAKE-NUMBER (LAYER P HEIGHT N / DIGITS ADVANCE X)
  (SETQ DIGITS (DIGITS-OF (+ N 0.5)) ADVANCE (* 0.7 HEIGHT))
  (SETQ X (* -0.5 ADVANCE (1- (LENGTH DIGITS))))
  (WHILE (> (LENGTH DIGITS) 0)
    (MAKE-TEXT LAYER (OFFSET-POINT P X 0) HEIGHT (NTH (CAR DIGITS) DIGIT-TEXTS))
    (SETQ X (+ X ADVANCE) DIGITS (CDR DIGITS))))

; A closed polyline through a list of points, however many.
(DEFUN MAKE-OUTLINE (LAYER POINTS / GROUPS)
  (SETQ GROUPS '())
  (WHILE (> (LENGTH POINTS) 0)
    (SETQ GROUPS (CONS (LIST 10 (CAR POINTS)) GROUPS) POINTS (CDR POINTS)))
  (ENTMAKE (APPEND (LIST '(0 "POLYLINE") (LIST 8 LAYER) '(70 1)) (REVERSE GROUPS))))

(DEFUN MAKE-BOX (LAYER LOW WIDTH HEIGHT)
  (MAKE-OUTLINE LAYER (LIST LOW
                            (OFFSET-POINT LOW WIDTH 0)
                            (OFFSET-POINT LOW WIDTH HEIGHT)
                            (OFFSET-POINT LOW 0 HEIGHT))))

(DEFUN MAKE-ARROW (LAYER TIP DIRECTION SIZE)
  (MAKE-LINE LAYER TIP (POLAR TIP (+ DIRECTION 0.3) SIZE))
  (MAKE-LINE LAYER TIP (POLAR TIP (- DIRECTION 0.3) SIZE)))

; The distance between P and Q, written beside a line with arrows, GAP to the left of the way.
(DEFUN MAKE-DIMENSION (LAYER P Q GAP / ALONG UP FROM TO)
  (SETQ ALONG (ANGLE P Q) UP (+ ALONG (/ PI 2)))
  (SETQ FROM (POLAR P UP GAP) TO (POLAR Q UP GAP))
  (MAKE-LINE LAYER (POLAR P UP 1) (POLAR P UP (+ GAP 2)))
  (MAKE-LINE LAYER (POLAR Q UP 1) (POLAR Q UP (+ GAP 2)))
  (MAKE-LINE LAYER FROM TO)
  (MAKE-ARROW LAYER FROM ALONG 3)
  (MAKE-ARROW LAYER TO (+ ALONG PI) 3)
  (MAKE-NUMBER LAYER (OFFSET-POINT (POLAR (BETWEEN FROM TO 0.5) UP 6) 0 -2) 4 (DISTANCE P Q)))

; A cross through P, longer than a circle of that radius.
(DEFUN MAKE-CROSS (LAYER P RADIUS / REACH)
  (SETQ REACH (+ RADIUS 3))
  (MAKE-LINE LAYER (OFFSET-POINT P (- REACH) 0) (OFFSET-POINT P REACH 0))
  (MAKE-LINE LAYER (OFFSET-POINT P 0 (- REACH)) (OFFSET-POINT P 0 REACH)))
