; What drawings on sheets of paper need: layers with their line weights, centre lines, dimensions with
; filled arrows, notes. Loads points.lsp.
;
; Texts and arrows are as large as on paper at 1:1. For another scale, set PAPER to the length that a
; millimetre of paper has in the drawing: 2 for a sheet at 1:2.
;
;@ load points.lsp

(SETQ PAPER 1)

(DEFUN DRAFTING-LAYERS ()
  (COMMAND "LAYER"
           "M" "OUTLINE" "C" "black" "" "LW" 0.5 ""
           "M" "CUT" "C" "black" "" "LW" 0.5 ""
           "M" "HIDDEN" "C" "black" "" "L" "HIDDEN" "" "LW" 0.25 ""
           "M" "CENTRE" "C" "black" "" "L" "CENTER" "" "LW" 0.18 ""
           "M" "SECTION" "C" "black" "" "LW" 0.18 ""
           "M" "DIMENSIONS" "C" "black" "" "LW" 0.18 "" ""))

; A line through P and Q, 3 mm longer at each end.
(DEFUN MAKE-CENTRE-LINE (P Q / WAY)
  (SETQ WAY (ANGLE P Q))
  (MAKE-LINE "CENTRE" (POLAR P WAY (* -3 PAPER)) (POLAR Q WAY (* 3 PAPER))))

(DEFUN MAKE-CENTRE-CROSS (P RADIUS)
  (MAKE-CENTRE-LINE (OFFSET-POINT P (- RADIUS) 0) (OFFSET-POINT P RADIUS 0))
  (MAKE-CENTRE-LINE (OFFSET-POINT P 0 (- RADIUS)) (OFFSET-POINT P 0 RADIUS)))

; WORDS at P, HEIGHT millimetres high, in the direction WAY; SIDE is 0 to begin at P, 1 for a text
; centred on it, 2 to end there.
(DEFUN MAKE-NOTE (P HEIGHT WAY SIDE WORDS)
  (ENTMAKE (LIST '(0 "TEXT") '(8 "DIMENSIONS") (LIST 10 P) (LIST 40 (* HEIGHT PAPER)) (LIST 1 WORDS)
                 (LIST 50 WAY) (LIST 72 SIDE))))

(DEFUN MAKE-ARROWHEAD (TIP WAY / BACK)
  (SETQ BACK (+ WAY PI))
  (ENTMAKE (LIST '(0 "HATCH") '(8 "DIMENSIONS") '(2 "SOLID") (LIST 10 TIP)
                 (LIST 10 (POLAR TIP (+ BACK 0.165) (* 3 PAPER)))
                 (LIST 10 (POLAR TIP (- BACK 0.165) (* 3 PAPER))))))

; A line with arrows from A to B, to the right or upwards, with WORDS above its middle. Where there
; is no room between them, the arrows point inwards.
(DEFUN MAKE-DIMENSION-LINE (A B WORDS / WAY)
  (SETQ WAY (ANGLE A B))
  (IF (< (DISTANCE A B) (* 9 PAPER))
      (PROGN
        (MAKE-LINE "DIMENSIONS" (POLAR A WAY (* -7 PAPER)) (POLAR B WAY (* 7 PAPER)))
        (MAKE-ARROWHEAD A WAY)
        (MAKE-ARROWHEAD B (+ WAY PI)))
      (PROGN
        (MAKE-LINE "DIMENSIONS" A B)
        (MAKE-ARROWHEAD A (+ WAY PI))
        (MAKE-ARROWHEAD B WAY)))
  (MAKE-NOTE (POLAR (BETWEEN A B 0.5) (+ WAY (/ PI 2)) PAPER) 3.5 WAY 1 WORDS))

; A thin line from an edge at P to a dimension at A, and 2 mm beyond.
(DEFUN MAKE-EXTENSION (P A / WAY)
  (SETQ WAY (ANGLE P A))
  (MAKE-LINE "DIMENSIONS" (POLAR P WAY PAPER) (POLAR A WAY (* 2 PAPER))))

; The way from P to Q along the x axis, dimensioned at the height Y; P lies to the left.
(DEFUN DIMENSION-X (P Q Y WORDS / A B)
  (SETQ A (LIST (POINT-X P) Y) B (LIST (POINT-X Q) Y))
  (MAKE-EXTENSION P A)
  (MAKE-EXTENSION Q B)
  (MAKE-DIMENSION-LINE A B WORDS))

; The same along the y axis, at X; P lies below.
(DEFUN DIMENSION-Y (P Q X WORDS / A B)
  (SETQ A (LIST X (POINT-Y P)) B (LIST X (POINT-Y Q)))
  (MAKE-EXTENSION P A)
  (MAKE-EXTENSION Q B)
  (MAKE-DIMENSION-LINE A B WORDS))

; An arrow at TIP, a line to KNEE, and WORDS to the right of it.
(DEFUN MAKE-LEADER (TIP KNEE WORDS)
  (MAKE-LINE "DIMENSIONS" TIP KNEE)
  (MAKE-ARROWHEAD TIP (ANGLE KNEE TIP))
  (MAKE-LINE "DIMENSIONS" KNEE (OFFSET-POINT KNEE (* 3 PAPER) 0))
  (MAKE-NOTE (OFFSET-POINT KNEE (* 4 PAPER) (* -1.75 PAPER)) 3.5 0 0 WORDS))
