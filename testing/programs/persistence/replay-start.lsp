;; Every replay starts from the same snapshot, whatever happened meanwhile.
(SETQ N 1)
; => 1

(SETQ N (1+ N)) (GETPOINT N) (GETPOINT (SETQ N (* N 10)))
; host call: GETPOINT (2)
; run: 1

(SETQ N 500)
; => 500

; resume 1: nil
; host call: GETPOINT (20)

(SETQ N 600)
; => 600
; resume 1: X
; => X

N
; => 20
