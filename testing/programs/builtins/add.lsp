(+)
; => 0
; ---
(+ 5)
; => 5
; ---
(+ 1 2 3.5)
; => 6.5
; ---
;; Added to 0.0 one by one, from the left.
(+ -0.0)
; => 0
; ---
(+ -0.0 -0.0)
; => 0
; ---
(LIST (+ -0.0 (- 0)) (+ (* -0.0 1) -0.0 -0.0))
; => (0 0)
; ---
(+ 1e16 1 1)
; => 10000000000000000
; ---
(+ 1 1 1e16)
; => 10000000000000002
; ---
(+ 0.1 0.2)
; => 0.30000000000000004
; ---
(+ 1 "2")
; eval-error + expects numbers
; ---
(+ 1 T)
; eval-error + expects numbers
; ---
(+ NIL)
; eval-error + expects numbers
; ---
(+ '(1))
; eval-error + expects numbers
; ---
;; All arguments are evaluated, then all are tested.
(+ "1" (NOSUCH))
; eval-error unsupported LISP function: NOSUCH
