(LIST)
; => ()

(LIST 1 "two" 'THREE NIL '(4))
; => (1 "two" THREE nil (4))

(IF (LIST) 1 2)
; => 1

(LIST (+ 1 1) (LIST (LIST)))
; => (2 (()))
