(-)
; error: - expects numbers

(- 5)
; => -5

;; One argument has its sign flipped.
(- 0)
; => -0

(- -0.0)
; => 0

(- 10 1 2)
; => 7

(- 0 0)
; => 0

(- "1")
; error: - expects numbers

(- 1 NIL)
; error: - expects numbers
