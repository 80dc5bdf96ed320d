;; An answer that is not one readable datum ends the run.
(GETPOINT)
; call GETPOINT ()
; answer
; read-error host response parse error: expected exactly one form
; steps 0
; resume 1 5
; status 3
; ---
(GETPOINT)
; call GETPOINT ()
; answer 1 2
; read-error host response parse error: expected exactly one form
; ---
(GETPOINT)
; call GETPOINT ()
; answer (1 2
; read-error host response parse error: unterminated list
; ---
(GETPOINT)
; call GETPOINT ()
; answer )
; read-error host response parse error: unexpected ')'
; ---
(GETPOINT)
; call GETPOINT ()
; answer "abc
; read-error host response parse error: unterminated string
; ---
(GETPOINT)
; call GETPOINT ()
; answer '
; read-error host response parse error: unexpected end of input
; ---
;; Two whole forms before a fault: the fault is reported.
(GETPOINT)
; call GETPOINT ()
; run 7
; answer 1 2 )
; read-error host response parse error: unexpected ')'
; resume 7 5
; status 3
