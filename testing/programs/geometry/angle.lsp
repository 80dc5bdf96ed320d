(ANGLE '(0 0) '(1 0))
; => 0

(ANGLE '(0 0) '(0 1))
; => 1.5707963267948966

(ANGLE '(0 0) '(-1 0))
; => 3.1415926535897931

;; As it is, not normalised to positive angles.
(ANGLE '(0 0) '(0 -1))
; => -1.5707963267948966

(ANGLE '(0 0) '(-1 -0.0))
; => -3.1415926535897931

(ANGLE '(1 1 5) '(1 1 9))
; => 0

(ANGLE '(0 0))
; error: ANGLE argument count

(ANGLE 1 2 3)
; error: ANGLE argument count

(ANGLE 1 '(0 0))
; error: ANGLE expects point list

(ANGLE '(0 0) '(1))
; error: ANGLE expects point list
