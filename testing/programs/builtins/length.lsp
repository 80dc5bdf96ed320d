(LENGTH '())
; => 0

(LENGTH '(1 2 (3 4)))
; => 3

(LENGTH (CDR (CONS 1 '(2 3))))
; => 2

(LENGTH NIL)
; error: length expects list

(LENGTH "abc")
; error: length expects list

(LENGTH)
; error: length expects list

(LENGTH '(1) '(2))
; error: length expects list
