(SETQ)
; error: setq expects symbol/value pairs

(SETQ A)
; error: setq expects symbol/value pairs

;; Counted before anything is evaluated.
(SETQ A 1 B)
; error: setq expects symbol/value pairs
; steps: 1

A
; error: unbound symbol: A

(SETQ A 1 B 2)
; => 2
; steps: 3

(LIST A B)
; => (1 2)

;; Left to right: later values see earlier assignments.
(SETQ A 5 B (+ A 1) A (+ B 1))
; => 7

(LIST A B)
; => (7 6)

;; Targets are looked at pair by pair.
(SETQ A 1 "B" 2)
; error: setq target must be a symbol
; steps: 2

;; Not even a failing value is evaluated for a bad target.
(SETQ 5 (NOSUCH))
; error: setq target must be a symbol

(SETQ nil 1)
; error: setq target must be a symbol

(SETQ (A) 1)
; error: setq target must be a symbol

;; A failing value is not assigned.
(SETQ C 1 D (NOSUCH) E 2)
; error: unsupported LISP function: NOSUCH
; steps: 3
