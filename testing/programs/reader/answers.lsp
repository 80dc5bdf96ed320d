;; An answer is exactly one datum. Every form of it is read before the forms are counted.
(GETPOINT)
; host call: GETPOINT ()
; answer: (A) (B
; read error: host response parse error: unterminated list

(GETPOINT)
; host call: GETPOINT ()
; answer: (A) )
; read error: host response parse error: unexpected ')'

(GETPOINT)
; host call: GETPOINT ()
; answer: (A) (B)
; read error: host response parse error: expected exactly one form

(GETPOINT)
; host call: GETPOINT ()
; answer:    ; only a comment
; read error: host response parse error: expected exactly one form

(GETPOINT)
; host call: GETPOINT ()
; answer: abc"def"
; read error: host response parse error: expected exactly one form

(GETPOINT)
; host call: GETPOINT ()
; answer: a'b
; read error: host response parse error: expected exactly one form

(GETPOINT)
; host call: GETPOINT ()
; answer: ()
; => ()

(GETPOINT)
; host call: GETPOINT ()
; answer: NIL
; => nil

(GETPOINT)
; host call: GETPOINT ()
; answer: (a . b)
; => (A . B)

(GETPOINT)
; host call: GETPOINT ()
; answer: 0x10
; => 16

(GETPOINT)
; host call: GETPOINT ()
; escaped answer: (A)\x1a
; => (A)
