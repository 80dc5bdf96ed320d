;; A name that is bound nowhere, as the reader folds it, and nothing after it.
FOO
; error: unbound symbol: FOO
; steps: 1

foo
; error: unbound symbol: FOO

;; The names of functions are not variables.
CAR
; error: unbound symbol: CAR

(SETQ foo 1) (LIST Foo FOO fOo)
; => (1 1 1)
