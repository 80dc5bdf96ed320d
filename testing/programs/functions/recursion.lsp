(DEFUN FACT (N) (IF (< N 2) 1 (* N (FACT (1- N)))))
(LIST (FACT 0) (FACT 1) (FACT 5) (FACT 20))
; => (1 1 120 2.43290200817664e+18)

(DEFUN FIB (N) (IF (< N 2) N (+ (FIB (- N 1)) (FIB (- N 2)))))
(FIB 15)
; => 610

;; Two functions that call each other.
(DEFUN EVEN? (N) (IF (= N 0) T (ODD? (1- N))))
(DEFUN ODD? (N) (IF (= N 0) NIL (EVEN? (1- N))))
(LIST (EVEN? 20) (EVEN? 21) (ODD? 21))
; => (T nil T)

;; Every call has locals of its own.
(DEFUN SUM (L / X)
  (SETQ X (CAR L))
  (IF (= (LENGTH L) 0) 0 (+ (SUM (CDR L)) X)))
(SUM '(1 2 3 4))
; => 10
