; A program that cannot be read: a parenthesis is missing in the middle, so the list that it opens
; never ends. All of a program is read before any of it runs, and so not even the ENTMAKE is made.
;
;@ expect error unterminated list

(ENTMAKE '((0 "POINT") (8 "NEVER") (10 (0 0 0))))

(SETQ AREA (* 3 (+ 4 5))

(LIST AREA)
