(AND)
; => T

(OR)
; => nil

;; The value of the last one evaluated, not a truth value.
(LIST (AND 1 2) (AND 1 NIL) (AND 0 "" '()) (OR NIL 5) (OR NIL NIL) (OR '() 1))
; => (2 nil () 5 nil ())

;; Nothing is evaluated after the one that decides.
(AND 1 NIL (NOSUCH))
; => nil
; steps: 3

(OR 1 (UNDEFINED))
; => 1
; steps: 2

(AND 1 (NOSUCH) NIL)
; error: unsupported LISP function: NOSUCH

(OR NIL (NOSUCH) 1)
; error: unsupported LISP function: NOSUCH
