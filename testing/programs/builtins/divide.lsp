(/)
; error: / expects numbers

;; One argument comes back as it is, and is not tested.
(/ 5)
; => 5

(/ 0)
; => 0

(/ 7 2)
; => 3.5

(/ 100 2 5)
; => 10

(/ 0 5)
; => 0

(/ 1 0)
; error: division by zero

(/ 1 -0.0)
; error: division by zero

(/ 8 2 0)
; error: division by zero

;; Divisors up to 1e-300 are refused, of either sign.
(/ 1 1e-300)
; error: division by zero

(/ 1 -1e-300)
; error: division by zero

;; The next ones are not: 0x1p-990 is a little less than 1e-298.
(> (/ 1 1e-299) 9e298)
; => T

(= (/ 1 0x1p-990) 0x1p990)
; => T

(/ 1 "2")
; error: / expects numbers

;; Kinds before zero.
(/ 1 0 T)
; error: / expects numbers

;; Infinite and NaN divisors pass.
(/ 1 (* 1e200 1e200))
; => 0

(= 0 (/ 0 (- (* 1e200 1e200) (* 1e200 1e200))))
; => nil
