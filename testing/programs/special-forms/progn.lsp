(PROGN)
; => nil
; steps: 1

(PROGN 1)
; => 1

(PROGN (SETQ A 1) (SETQ A (+ A 1)) A)
; => 2
; steps: 8

(PROGN (SETQ A 5) (NOSUCH) (SETQ A 6))
; error: unsupported LISP function: NOSUCH
; steps: 4
