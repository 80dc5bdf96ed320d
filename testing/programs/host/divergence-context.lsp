;; A context replaced between frames changes what TRANS gives, and so the call.
; context: 7
; system 0: 0 0 1 0 0 1 1 0
(GETDIST) (ENTGET (TRANS '(1 2) 1 0)) (GETDIST)
; host call: GETDIST ()
; answer: 1
; host call: ENTGET ((1 2 0))
; answer: 2
; host call: GETDIST ()

; system 1: 10 0 1 0 0 1 1 0
; answer: 3
; error: LISP host replay divergence at call 2: ENTGET
; resume 1: 3
; status: 3

;; Another name than the one recorded: the message names the call being made.
(IF (= 1 (CAR (TRANS '(1 2) 1 0))) (GETPOINT) (SSGET))
; host call: SSGET ()

; system 1: 0 0 1 0 0 1 1 0
; answer: 5
; error: LISP host replay divergence at call 1: GETPOINT

;; Another number of arguments.
(IF (= 1 (CAR (TRANS '(1 2) 1 0))) (GETPOINT 1) (GETPOINT 1 2))
; host call: GETPOINT (1)

; system 1: 10 0 1 0 0 1 1 0
; answer: 5
; error: LISP host replay divergence at call 1: GETPOINT

;; Fewer calls than answers.
(IF (= 11 (CAR (TRANS '(1 2) 1 0))) (GETPOINT) 5)
; host call: GETPOINT ()

; system 1: 0 0 1 0 0 1 1 0
; answer: 5
; error: LISP host replay transcript has unused answers
; steps: 9

;; A result that is the same in the end is no divergence.
(ENTGET (TRANS '(1 2) 1 0))
; host call: ENTGET ((1 2 0))

; system 1: 0 0 1 0 0 1 1 0
; system 2: 5 5 1 0 0 1 1 0
; answer: 5
; => 5
