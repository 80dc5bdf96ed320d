;; Nothing is printed anywhere; the last argument comes back.
(PRINC "hi")
; => "hi"

(PRINC)
; => nil

(PRINC 1 2)
; => 2

(PRIN1 "hi")
; => "hi"

(PRIN1)
; => nil

(PRIN1 1 '(2 3))
; => (2 3)

(PRINC 1 (NOSUCH))
; error: unsupported LISP function: NOSUCH
