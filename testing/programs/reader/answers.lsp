;; An answer is exactly one datum. Every form of it is read before the forms are counted.
(GETPOINT)
; call GETPOINT ()
; answer (A) (B
; read-error host response parse error: unterminated list
; ---
(GETPOINT)
; call GETPOINT ()
; answer (A) )
; read-error host response parse error: unexpected ')'
; ---
(GETPOINT)
; call GETPOINT ()
; answer (A) (B)
; read-error host response parse error: expected exactly one form
; ---
(GETPOINT)
; call GETPOINT ()
; answer    ; only a comment
; read-error host response parse error: expected exactly one form
; ---
(GETPOINT)
; call GETPOINT ()
; answer abc"def"
; read-error host response parse error: expected exactly one form
; ---
(GETPOINT)
; call GETPOINT ()
; answer a'b
; read-error host response parse error: expected exactly one form
; ---
(GETPOINT)
; call GETPOINT ()
; answer ()
; => ()
; ---
(GETPOINT)
; call GETPOINT ()
; answer NIL
; => nil
; ---
(GETPOINT)
; call GETPOINT ()
; answer (a . b)
; => (A . B)
; ---
(GETPOINT)
; call GETPOINT ()
; answer 0x10
; => 16
; ---
(GETPOINT)
; call GETPOINT ()
; escaped answer (A)\x1a
; => (A)
