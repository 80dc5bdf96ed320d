(LIST (= 1 1) (= 1 2) (/= 1 1) (/= 1 2))
; => (T nil nil T)

(LIST (< 1 2) (< 2 2) (< 3 2) (> 1 2) (> 2 2) (> 3 2))
; => (T nil nil nil nil T)

(LIST (<= 1 2) (<= 2 2) (<= 3 2) (>= 1 2) (>= 2 2) (>= 3 2))
; => (T T nil nil T T)

(LIST (= 0 -0.0) (< -0.0 0) (= 0.1 0.10000000000000001))
; => (T nil T)

;; Two numbers, never more: there is no chain.
(= 1 1 1)
; error: = expects two numbers

(=)
; error: = expects two numbers

(/= 1)
; error: /= expects two numbers

(< 1 2 3)
; error: < expects two numbers

(< 1 "2")
; error: < expects two numbers

(> NIL 1)
; error: > expects two numbers

(<= 'A 'B)
; error: <= expects two numbers

(>= 1 '(1))
; error: >= expects two numbers
