; A program that cannot be read: a parenthesis is missing in the middle, so the list that it opens
; never ends. All of a program is read before any of it runs, and so not even the circle is drawn.
;
;@ drawing drawings/plate.json
;@ expect error unterminated list

(COMMAND "CIRCLE" '(60 30) 10)

(SETQ AREA (* 3 (+ 4 5))

(LIST AREA)
