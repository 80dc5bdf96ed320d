;; A failure deep inside surfaces with its own message, and nothing after it is evaluated.
(LIST 1 (PROGN (IF T (+ 1 (CAR (LIST (NOSUCH)))))) (SETQ AFTER 1))
; error: unsupported LISP function: NOSUCH
; steps: 10

AFTER
; error: unbound symbol: AFTER

;; The first failing argument decides.
(LIST FIRST SECOND)
; error: unbound symbol: FIRST
; steps: 2

;; A failing form ends the program.
(SETQ A 1) (NOSUCH) (GETPOINT)
; error: unsupported LISP function: NOSUCH
