;; A resumed run works in the context in which it began.
(GETPOINT) (TRANS '(1 2 3) 1 0)
; register 7 system 1 10 20 1 0 0 1 1 0
; in 7
; call GETPOINT ()
; answer nil
; => (11 22 3)
; ---
;; In none, if it began in none.
(GETPOINT) (TRANS '(1 2 3) 1 0)
; call GETPOINT ()
; answer nil
; eval-error trans requires point, source, target and registered context
