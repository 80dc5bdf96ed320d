;; After every answer the program runs again from its first form; the answers come in call order.
(PROGN (GETPOINT) (GETPOINT))
; host call: GETPOINT ()
; steps: 2
; run: 1
; answer: 1
; host call: GETPOINT ()
; steps: 3
; run: 1
; answer: 2
; => 2
; steps: 3

(LIST (GETPOINT 1) (GETDIST 2) (SSGET 3))
; host call: GETPOINT (1)
; answer: A
; host call: GETDIST (2)
; answer: B
; host call: SSGET (3)
; answer: C
; => (A B C)

;; Assignments before a call are made again by every run, from the same start.
(SETQ N 0)
; => 0

(SETQ N (1+ N)) (GETPOINT N) (SETQ N (1+ N)) (GETPOINT N) N
; host call: GETPOINT (1)
; answer: nil
; host call: GETPOINT (2)
; answer: nil
; => 2

N
; => 2

;; A branch that is not taken makes no call.
(IF NIL (GETPOINT) 5)
; => 5

(SETQ K 0)
(WHILE (< K 3) (SETQ L (CONS (GETDIST K) L) K (1+ K)))
; host call: GETDIST (0)
; answer: 10
; error: unbound symbol: L

(SETQ K 0 L NIL)
(WHILE (< K 3) (SETQ L (CONS (GETDIST K) L) K (1+ K)))
L
; host call: GETDIST (0)
; answer: 10
; host call: GETDIST (1)
; answer: 11
; host call: GETDIST (2)
; answer: 12
; => (12 11 10)
