; A recursion without an end condition that it ever meets: rings around a point of the plan, each
; closer by a tenth, and never of radius 0. Each ring takes three of the 128 levels: the call, the
; IF, the PROGN in it. The rings that were drawn before stay in the drawing.
;
;@ answer GETPOINT (20 -30 0)
;@ keep
;@ expect error LISP evaluation depth exceeded

(DEFUN RINGS (CENTRE RADIUS)
  (IF (= RADIUS 0)
      CENTRE
      (PROGN
        (ENTMAKE (LIST '(0 "CIRCLE") '(8 "RINGS") (LIST 10 (TRANS CENTRE 1 0)) (LIST 40 RADIUS)))
        (RINGS CENTRE (* 0.9 RADIUS)))))

(RINGS (GETPOINT "Centre, on the plan: ") 50)
