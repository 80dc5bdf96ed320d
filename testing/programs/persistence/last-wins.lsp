;; A pending run works on what there was when it began; when it ends, its state replaces that of
;; runs that ended meanwhile.
(SETQ A 1)
; => 1

(GETPOINT) (SETQ B A)
; host call: GETPOINT ()
; run: 1

(SETQ A 2 C 3) (DEFUN F () 1)
; => F

; resume 1: nil
; => 1

A
; => 1

B
; => 1

C
; error: unbound symbol: C

(F)
; error: unsupported LISP function: F

;; Two pending runs: each ends with its own.
(GETPOINT) (SETQ D 10)
; host call: GETPOINT ()
; run: 2

(GETPOINT) (SETQ E 20)
; host call: GETPOINT ()
; run: 3
; resume 2: nil
; => 10

D
; => 10
; resume 3: nil
; => 20

E
; => 20

D
; error: unbound symbol: D
