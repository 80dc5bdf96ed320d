;; Parameters and locals leave nothing behind, whatever way a call ends.
(DEFUN F (A / B) (SETQ B 1) (IF A (NOSUCH)) B)
; => F

(F NIL)
; => 1

(F T)
; error: unsupported LISP function: NOSUCH

A
; error: unbound symbol: A

B
; error: unbound symbol: B

;; Nor when it stops at a host call.
(DEFUN F (A) (GETPOINT A))
(SETQ X (F 5))
; host call: GETPOINT (5)
; run: 1

A
; error: unbound symbol: A
; resume 1: 7
; => 7

X
; => 7

A
; error: unbound symbol: A
