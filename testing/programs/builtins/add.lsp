(+)
; => 0

(+ 5)
; => 5

(+ 1 2 3.5)
; => 6.5

;; Added to 0.0 one by one, from the left.
(+ -0.0)
; => 0

(+ -0.0 -0.0)
; => 0

(LIST (+ -0.0 (- 0)) (+ (* -0.0 1) -0.0 -0.0))
; => (0 0)

(+ 1e16 1 1)
; => 10000000000000000

(+ 1 1 1e16)
; => 10000000000000002

(+ 0.1 0.2)
; => 0.30000000000000004

(+ 1 "2")
; error: + expects numbers

(+ 1 T)
; error: + expects numbers

(+ NIL)
; error: + expects numbers

(+ '(1))
; error: + expects numbers

;; All arguments are evaluated, then all are tested.
(+ "1" (NOSUCH))
; error: unsupported LISP function: NOSUCH
