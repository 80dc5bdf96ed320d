;; Several runs pending at once, answered in any order.
(LIST 'FIRST (GETPOINT 1) (GETPOINT 2))
; host call: GETPOINT (1)
; run: 1

(LIST 'SECOND (GETDIST))
; host call: GETDIST ()
; run: 2

(LIST 'THIRD (SSGET))
; host call: SSGET ()
; run: 3
; resume 1: A
; host call: GETPOINT (2)
; run: 1
; resume 3: C
; => (THIRD C)
; resume 1: B
; => (FIRST A B)
; resume 2: D
; => (SECOND D)
