(NOT)
; eval-error NOT expects one argument
; steps 1
; ---
(NOT 1 2)
; eval-error NOT expects one argument
; steps 1
; ---
(null)
; eval-error NULL expects one argument
; ---
(NULL 1 2)
; eval-error NULL expects one argument
; ---
(LIST (NOT NIL) (NOT T) (NOT 0) (NULL NIL) (NULL '()) (NULL ()) (NULL ""))
; => (T nil nil T nil T nil)
; ---
(NOT (NOSUCH))
; eval-error unsupported LISP function: NOSUCH
