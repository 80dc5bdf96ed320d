;; Without a context there is no TRANS, whatever is registered.
(TRANS '(1 2) 0 0)
; register 7
; eval-error trans requires point, source, target and registered context
; ---
;; 0 means none, even when a context 0 is registered.
(TRANS '(1 2) 0 0)
; register 0
; in 0
; eval-error trans requires point, source, target and registered context
; ---
;; A context that is not registered: nothing is evaluated.
(SETQ A 1)
; in 8
; status 4
; ---
;; Not even read.
(((
; in 8
; status 4
; ---
A
; eval-error unbound symbol: A
; ---
(TRANS '(1 2) 0 0)
; in 7
; => (1 2 0)
