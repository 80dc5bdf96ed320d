;; A resumed run works in the context in which it began.
; context: 7
; system 1: 10 20 1 0 0 1 1 0
(GETPOINT) (TRANS '(1 2 3) 1 0)
; host call: GETPOINT ()
; answer: nil
; => (11 22 3)

;; In none, if it began in none.
; context: 0
(GETPOINT) (TRANS '(1 2 3) 1 0)
; host call: GETPOINT ()
; answer: nil
; error: trans requires point, source, target and registered context
