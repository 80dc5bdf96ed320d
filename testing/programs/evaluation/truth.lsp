;; T evaluates to itself whatever is assigned to it.
T
; => T
; steps: 1

t
; => T

(SETQ T 5)
; => 5

T
; => T

(LIST T t)
; => (T T)
