;; The arguments of an unknown function are evaluated first.
(FOO (SETQ X 1))
; eval-error unsupported LISP function: FOO
; steps 3
; ---
(FOO (BAR))
; eval-error unsupported LISP function: BAR
; ---
(foo)
; eval-error unsupported LISP function: FOO
; ---
;; Whole names only.
(CARS '(1))
; eval-error unsupported LISP function: CARS
; ---
(CA '(1))
; eval-error unsupported LISP function: CA
; ---
(GETPOINTS)
; eval-error unsupported LISP function: GETPOINTS
; ---
(COMMAND-)
; eval-error unsupported LISP function: COMMAND-
; ---
(PRINT 1)
; eval-error unsupported LISP function: PRINT
