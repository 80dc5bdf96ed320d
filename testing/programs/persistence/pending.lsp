;; What a run assigns is not seen by others until it ends.
(SETQ A 1)
; => 1

(SETQ A 2) (DEFUN F () A) (GETPOINT) (SETQ B 5)
; host call: GETPOINT ()
; run: 1

(LIST A)
; => (1)

(F)
; error: unsupported LISP function: F

; resume 1: nil
; => 5

(LIST A B (F))
; => (2 5 2)

;; A run that is cancelled leaves nothing.
(SETQ A 3) (GETPOINT)
; host call: GETPOINT ()
; run: 2
; cancel: 2
; status: 0

A
; => 2
