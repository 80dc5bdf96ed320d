;; A builtin shadowed by a definition stays so for later programs, a failed one does not.
(DEFUN CAR (L) "shadowed")
; => CAR

(CAR '(1 2))
; => "shadowed"

(DEFUN CDR (L) "shadowed") (NOSUCH)
; error: unsupported LISP function: NOSUCH

(CDR '(1 2))
; => (2)
