(1+ 1)
; => 2

(1- 1)
; => 0

(1+ 0.5)
; => 1.5

(1- -0.0)
; => -1

;; No whole number above 2^53 is lost on the way, and none is gained.
(LIST (1+ 9007199254740992) (1- 9007199254740993))
; => (9007199254740992 9007199254740991)

(1+)
; error: 1+ expects one number

(1+ 1 2)
; error: 1+ expects one number

(1+ "1")
; error: 1+ expects one number

(1-)
; error: 1- expects one number

(1- 1 2)
; error: 1- expects one number

(1- NIL)
; error: 1- expects one number
