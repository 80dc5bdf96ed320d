; A program that stops in the middle. The circle before the error is taken back, and the drawing is
; what it was, with the point that was there; the variable DONE is not kept either, because a run
; that fails leaves nothing behind.
;
;@ entity ((0 "POINT") (8 "POINTS") (10 (1 2 0)))
;@ expect error division by zero

(SETQ DONE (ENTMAKE '((0 "CIRCLE") (8 "HOLES") (10 (1 2 0)) (40 1))))

(DEFUN AVERAGE (SUM COUNT) (/ SUM COUNT))

(AVERAGE 12 0)
