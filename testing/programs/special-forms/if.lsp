(IF)
; error: if expects condition, true and optional false expression

(IF 1)
; error: if expects condition, true and optional false expression
; steps: 1

(IF 1 2 3 4)
; error: if expects condition, true and optional false expression
; steps: 1

(IF T 1)
; => 1

(IF NIL 1)
; => nil
; steps: 2

(IF NIL 1 2)
; => 2

;; Only nil is false.
(LIST (IF '() 1 2) (IF 0 1 2) (IF "" 1 2) (IF 'A 1 2) (IF () 1 2))
; => (1 1 1 1 2)

;; One branch is evaluated, the other is not.
(LIST (IF T 1 (NOSUCH)) (IF NIL (NOSUCH) 2))
; => (1 2)

(IF (NOSUCH) 1 2)
; error: unsupported LISP function: NOSUCH
