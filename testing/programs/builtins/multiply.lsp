(*)
; => 1

(* 5)
; => 5

(* 2 3 4)
; => 24

(* -0.0)
; => -0

(* 1e200 1e200)
; => inf

(* 1e200 -1e200)
; => -inf

;; From the left: this overflows before it would shrink again.
(* 1e200 1e200 1e-200)
; => inf

(* 1e-200 1e-200)
; => 0

(* 1 'A)
; error: * expects numbers
