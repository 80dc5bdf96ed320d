(DEFUN)
; error: defun syntax error

(DEFUN F)
; error: defun syntax error

(DEFUN F ())
; error: defun syntax error

(DEFUN "F" () 1)
; error: defun syntax error

(DEFUN NIL () 1)
; error: defun syntax error

(DEFUN F NIL 1)
; error: defun syntax error

(DEFUN F X 1)
; error: defun syntax error

(DEFUN F (A 1) 1)
; error: defun parameter must be symbol

(DEFUN F (A "B") 1)
; error: defun parameter must be symbol

(DEFUN F (A NIL) 1)
; error: defun parameter must be symbol

(DEFUN F (A / ()) 1)
; error: defun parameter must be symbol

;; The shape is looked at before the parameters.
(DEFUN 5 (1) 1)
; error: defun syntax error

;; The name comes back; nothing in the body is looked at.
(DEFUN F (A) (NOSUCH) (1 2) UNBOUND)
; => F
; steps: 1

(DEFUN g () 1)
; => G

(DEFUN F () 1 2 3) (F)
; => 3

;; A failed redefinition leaves the old one.
(DEFUN H () 1)
; => H

(IF (DEFUN H () 2) (H))
; => 2
