;; An answer that is not one readable datum ends the run.
(GETPOINT)
; host call: GETPOINT ()
; answer:
; read error: host response parse error: expected exactly one form
; steps: 0
; resume 1: 5
; status: 3

(GETPOINT)
; host call: GETPOINT ()
; answer: 1 2
; read error: host response parse error: expected exactly one form

(GETPOINT)
; host call: GETPOINT ()
; answer: (1 2
; read error: host response parse error: unterminated list

(GETPOINT)
; host call: GETPOINT ()
; answer: )
; read error: host response parse error: unexpected ')'

(GETPOINT)
; host call: GETPOINT ()
; answer: "abc
; read error: host response parse error: unterminated string

(GETPOINT)
; host call: GETPOINT ()
; answer: '
; read error: host response parse error: unexpected end of input

;; Two whole forms before a fault: the fault is reported.
(GETPOINT)
; host call: GETPOINT ()
; run: 7
; answer: 1 2 )
; read error: host response parse error: unexpected ')'
; resume 7: 5
; status: 3
