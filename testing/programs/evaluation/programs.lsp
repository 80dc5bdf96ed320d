;; A program is any number of forms; its value is that of the last.
; program:
; => nil
; steps: 0

; escaped program:  \t\r\n\x0b\x0c\x1a ; only a comment
; => nil
; steps: 0

(SETQ A 1) (SETQ B 2)
(+ A B)
; => 3

;; The whole text is read before anything is evaluated.
(SETQ A 100) (+ A 1
; read error: unterminated list
; steps: 0

A
; => 1

(SETQ A 100) )
; read error: unexpected ')'

A
; => 1
