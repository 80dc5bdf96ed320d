(LENGTH '())
; => 0
; ---
(LENGTH '(1 2 (3 4)))
; => 3
; ---
(LENGTH (CDR (CONS 1 '(2 3))))
; => 2
; ---
(LENGTH NIL)
; eval-error length expects list
; ---
(LENGTH "abc")
; eval-error length expects list
; ---
(LENGTH)
; eval-error length expects list
; ---
(LENGTH '(1) '(2))
; eval-error length expects list
