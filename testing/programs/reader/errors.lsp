(LIST 1
; read error: unterminated list

(
; read error: unterminated list

(LIST (1 2)
; read error: unterminated list

)
; read error: unexpected ')'

(LIST))
; read error: unexpected ')'

;; The first fault is reported.
(LIST 1) ) "abc
; read error: unexpected ')'

(LIST "abc)
; read error: unterminated string

(LIST ;; )
; read error: unterminated list

;; Nothing before a fault is evaluated.
(GETPOINT) (
; read error: unterminated list
; steps: 0
