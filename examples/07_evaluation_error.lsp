; A program that stops in the middle. The point before the error is in the drawing and stays there;
; the variable DONE is not kept, because a run that fails leaves no variables behind.
;
;@ expect error division by zero

(SETQ DONE (ENTMAKE '((0 "POINT") (8 "POINTS") (10 (1 2 0)))))

(DEFUN AVERAGE (SUM COUNT) (/ SUM COUNT))

(AVERAGE 12 0)
