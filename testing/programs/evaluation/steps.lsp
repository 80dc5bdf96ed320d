;; Every evaluation of a form counts one; a function's name is not evaluated.
(+ 1 2)
; => 3
; steps: 3

'(A B C)
; => (A B C)
; steps: 1

;; The list, its argument, the inner list, its two arguments.
(LIST 1 (LIST 2 3))
; => (1 (2 3))
; steps: 5

;; The steps of all forms count together.
1 2 3
; => 3
; steps: 3

;; DEFUN 1; the call 1, its argument 1, the body 3.
(DEFUN F (A) (+ A A)) (F 4)
; => 8
; steps: 6

;; SETQ 1, value 1; WHILE 1; three conditions of 3; two bodies of SETQ 1, 1+ 1, I 1.
(SETQ I 0) (WHILE (< I 2) (SETQ I (1+ I)))
; => 2
; steps: 18

;; IF 1, condition 1, one branch 1.
(IF T 1 (+ 1 1))
; => 1
; steps: 3

;; What fails before evaluating its arguments has counted itself only.
(QUOTE A B)
; error: quote expects one argument
; steps: 1

(F 1 2)
; error: wrong argument count for F
; steps: 1

;; An unknown function has evaluated its arguments.
(NOSUCH 1 2)
; error: unsupported LISP function: NOSUCH
; steps: 3
