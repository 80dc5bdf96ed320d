;; The empty list evaluates to nil; any other needs a symbol at its head.
()
; => nil
; steps: 1

'()
; => ()

(1 2)
; error: first list item must be a function symbol
; steps: 1

("LIST" 1)
; error: first list item must be a function symbol

(nil 1)
; error: first list item must be a function symbol

(() 1)
; error: first list item must be a function symbol

((LIST 1) 2)
; error: first list item must be a function symbol

('CAR '(1))
; error: first list item must be a function symbol

;; T and NIL in front: T is a symbol like any other there, NIL is none.
(T)
; error: unsupported LISP function: T

(NIL)
; error: first list item must be a function symbol
