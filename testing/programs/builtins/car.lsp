(CAR '(1 2 3))
; => 1

(CAR '((1 2) 3))
; => (1 2)

(CAR '(nil))
; => nil

;; Any misuse gives nil.
(LIST (CAR NIL) (CAR '()) (CAR 5) (CAR "A") (CAR 'A) (CAR) (CAR '(1) '(2)))
; => (nil nil nil nil nil nil nil)

;; But the arguments are evaluated.
(CAR 1 (NOSUCH))
; error: unsupported LISP function: NOSUCH
