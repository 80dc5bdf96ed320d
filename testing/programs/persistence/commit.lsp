;; What a program assigns and defines is there for the next one, if it ends with a value.
(SETQ A 1) (DEFUN F (X) (* X 2))
; => F

(F (+ A 4))
; => 10

(SETQ A 2) (DEFUN G () 1) (NOSUCH)
; error: unsupported LISP function: NOSUCH

A
; => 1

(G)
; error: unsupported LISP function: G

(SETQ A 3) (WHILE T)
; step limit: LISP evaluation step limit exceeded

A
; => 1

;; A redefinition that fails to arrive leaves the old one.
(DEFUN F (X) 0) (F)
; error: wrong argument count for F

(F 4)
; => 8
