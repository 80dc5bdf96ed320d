(NOT)
; error: NOT expects one argument
; steps: 1

(NOT 1 2)
; error: NOT expects one argument
; steps: 1

(null)
; error: NULL expects one argument

(NULL 1 2)
; error: NULL expects one argument

(LIST (NOT NIL) (NOT T) (NOT 0) (NULL NIL) (NULL '()) (NULL ()) (NULL ""))
; => (T nil nil T nil T nil)

(NOT (NOSUCH))
; error: unsupported LISP function: NOSUCH
