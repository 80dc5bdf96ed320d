;; Ids count up from 1, and are not given again.
(GETPOINT)
; host call: GETPOINT ()
; run: 1
; cancel: 1
; status: 0

(GETPOINT)
; host call: GETPOINT ()
; run: 2
; resume 0: 5
; status: 3
; resume 1: 5
; status: 3
; resume 3: 5
; status: 3
; resume 2: 5
; => 5
; resume 2: 5
; status: 3

;; Cancelling nothing is fine.
(GETDIST)
; host call: GETDIST ()
; run: 3
; cancel: 0
; status: 0
; cancel: 99
; status: 0
; cancel: 3
; status: 0
; cancel: 3
; status: 0
; resume 3: 5
; status: 3

;; A program that fails, or ends, takes no id.
(NOSUCH)
; error: unsupported LISP function: NOSUCH

(GETPOINT)
; host call: GETPOINT ()
; run: 4
