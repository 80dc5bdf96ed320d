;; Parameters and locals leave nothing behind, whatever way a call ends.
(DEFUN F (A / B) (SETQ B 1) (IF A (NOSUCH)) B)
; => F
; ---
(F NIL)
; => 1
; ---
(F T)
; eval-error unsupported LISP function: NOSUCH
; ---
A
; eval-error unbound symbol: A
; ---
B
; eval-error unbound symbol: B
; ---
;; Nor when it stops at a host call.
(DEFUN F (A) (GETPOINT A))
(SETQ X (F 5))
; call GETPOINT (5)
; run 1
; ---
A
; eval-error unbound symbol: A
; resume 1 7
; => 7
; ---
X
; => 7
; ---
A
; eval-error unbound symbol: A
