(DEFUN + (A B) A)
(+ 1 2)
; => 1

;; To the end of the run, and for later programs.
(+ 5 6)
; => 5

(+ 1)
; error: wrong argument count for +

;; The other builtins are as they were.
(- 5 2)
; => 3

(DEFUN LIST () "mine") (LIST)
; => "mine"

(DEFUN COMMAND (A) (* A 2)) (COMMAND 4)
; => 8
