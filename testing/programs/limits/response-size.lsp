;; A result of more than 1 MiB with its header is not sent, but what it assigned stays.
(SETQ S "0123456789abcdef0123456789abcdef" I 0 L (LIST S S S S S S S S))
(WHILE (< I 3) (SETQ L (LIST L L L L L L L L) I (1+ I)))
(LENGTH L)
; => 8

;; 4096 strings of 34 bytes and what stands between them; eight times that is too much.
(SETQ M (LIST L L L L L L L L))
; status: 3

(LENGTH M)
; => 8

;; A host call with such an argument is kept under its id, though nobody is told.
(COMMAND M)
; status: 3
; resume 1: "answered"
; => "answered"

(GETPOINT)
; host call: GETPOINT ()
; run: 2
