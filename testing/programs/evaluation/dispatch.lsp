;; Special forms, then user functions, then host builtins, then the others.
(DEFUN CAR (A) 7) (CAR '(1 2))
; => 7

(DEFUN QUOTE (A) 7) (QUOTE B)
; => B

(DEFUN GETPOINT (A) (+ A 1)) (GETPOINT 1)
; => 2

;; What a name stands for is settled before the arguments are evaluated: this + is the builtin.
(+ 1 (PROGN (DEFUN + (A B) 99) 2))
; => 3

(+ 1 2)
; => 99

;; So is a host builtin: its argument redefines it too late for this call.
(GETDIST (DEFUN GETDIST (X) 5))
; host call: GETDIST (GETDIST)
; steps: 2
; answer: 7
; => 7

(GETDIST 1)
; => 5

;; An unknown name stays unknown, even when an argument defines it.
(LATE (DEFUN LATE (A) A))
; error: unsupported LISP function: LATE
