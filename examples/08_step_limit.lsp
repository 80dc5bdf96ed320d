; A program that never ends by itself: it counts M and asks for N. The worker stops it after 250000
; evaluations, so it cannot keep a host waiting.
;
;@ drawing drawings/plate.json
;@ expect error LISP evaluation step limit exceeded

(SETQ HOLES (SSGET "X" '((0 "CIRCLE"))) N 0)
(WHILE (< N (SSLENGTH HOLES))
  (SETQ M (1+ N)))
