;; The arguments of an unknown function are evaluated first.
(FOO (SETQ X 1))
; error: unsupported LISP function: FOO
; steps: 3

(FOO (BAR))
; error: unsupported LISP function: BAR

(foo)
; error: unsupported LISP function: FOO

;; Whole names only.
(CARS '(1))
; error: unsupported LISP function: CARS

(CA '(1))
; error: unsupported LISP function: CA

(GETPOINTS)
; error: unsupported LISP function: GETPOINTS

(COMMAND-)
; error: unsupported LISP function: COMMAND-

(PRINT 1)
; error: unsupported LISP function: PRINT
