;; T keeps its value after being called, defined and called again.
(T)
; error: unsupported LISP function: T

T
; => T

(DEFUN T (A) (LIST A T))
; => T

(T 5)
; => (5 T)

(IF T T NIL)
; => T

(SETQ T 1)
; => 1

(LIST T (T 2))
; => (T (2 T))
