;; Several runs pending at once, answered in any order.
(LIST 'FIRST (GETPOINT 1) (GETPOINT 2))
; call GETPOINT (1)
; run 1
; ---
(LIST 'SECOND (GETDIST))
; call GETDIST ()
; run 2
; ---
(LIST 'THIRD (SSGET))
; call SSGET ()
; run 3
; resume 1 A
; call GETPOINT (2)
; run 1
; resume 3 C
; => (THIRD C)
; resume 1 B
; => (FIRST A B)
; resume 2 D
; => (SECOND D)
