;; Without a context there is no TRANS, whatever is registered.
; context: 7
; system 0: 0 0 1 0 0 1 1 0
; context: 0
(TRANS '(1 2) 0 0)
; error: trans requires point, source, target and registered context

;; 0 means none, even when a context 0 is registered.
; system 0: 0 0 1 0 0 1 1 0
(TRANS '(1 2) 0 0)
; error: trans requires point, source, target and registered context

;; A context that is not registered: nothing is evaluated.
; context: 8
(SETQ A 1)
; status: 4

;; Not even read.
(((
; status: 4

; context: 0
A
; error: unbound symbol: A

; context: 7
(TRANS '(1 2) 0 0)
; => (1 2 0)
