;; NaN equals nothing, so a call with one among its arguments cannot be found again.
(SETQ H (* 1e200 1e200))
(GETPOINT 1)
(GETPOINT (LIST 2 (- H H)))
; host call: GETPOINT (1)
; answer: 1
; host call: GETPOINT ((2 -nan))
; answer: 1
; error: LISP host replay divergence at call 2: GETPOINT

;; The run is gone.
5
; => 5
; resume 1: 1
; status: 3
