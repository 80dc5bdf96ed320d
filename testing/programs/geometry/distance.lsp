(DISTANCE '(0 0) '(3 4))
; => 5

;; z does not count.
(DISTANCE '(0 0 0) '(0 0 5))
; => 0

;; Two numbers first; what follows them is of no account.
(DISTANCE '(1 1 x) '(1 3 "y" nil))
; => 2

(DISTANCE '(0 0))
; error: DISTANCE argument count

(DISTANCE)
; error: DISTANCE argument count

(DISTANCE 1 2 3)
; error: DISTANCE argument count

(DISTANCE '(0) '(0 0))
; error: DISTANCE expects point list

(DISTANCE '(0 0) '(0 "1"))
; error: DISTANCE expects point list

(DISTANCE '(nil 0) '(0 0))
; error: DISTANCE expects point list

(DISTANCE NIL '(0 0))
; error: DISTANCE expects point list

;; No overflow on the way.
(< (DISTANCE '(0 0) '(3e200 4e200)) 6e200)
; => T

(DISTANCE '(0 0) (LIST (* 1e200 1e200) 0))
; => inf
