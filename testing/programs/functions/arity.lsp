(DEFUN F (A) A)
; => F

(F)
; error: wrong argument count for F

(F 1 2)
; error: wrong argument count for F

;; No argument is evaluated then.
(F (NOSUCH) 2)
; error: wrong argument count for F
; steps: 1

(DEFUN F () 5) (F)
; => 5

(F 1)
; error: wrong argument count for F

;; Locals do not count.
(DEFUN F (A / B C) A) (F 1)
; => 1
