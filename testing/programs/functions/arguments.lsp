;; Arguments are evaluated in the caller's bindings: an earlier parameter does not change a later one.
(SETQ A 1)
(DEFUN F (A B) (LIST A B))
(F 10 A)
; => (10 1)

;; A failing argument ends the call; later ones are not evaluated.
(F (NOSUCH) (SETQ A 2))
; error: unsupported LISP function: NOSUCH
; steps: 2

;; A parameter named twice counts twice, and the last argument stays.
(DEFUN F (A A) A)
(F 1 2)
; => 2

(F 1)
; error: wrong argument count for F

;; A parameter T is bound and never read.
(DEFUN F (T) T)
(F 5)
; => T

;; A local T as well, and assigning it changes nothing.
(DEFUN F (/ T) (SETQ T 5) (LIST T (IF T 1 2)))
(F)
; => (T 1)

;; Parameters are not functions.
(DEFUN F (CAR) (CAR '(1 2)))
(F 5)
; => 1
