;; Bytes of 128 and above are neither blanks nor letters; they stay as they are.
; escaped program: '(a\x80b \xe4\xfcz \xa0 \x85)
; escaped => (A\x80B \xe4\xfcZ \xa0 \x85)

;; A zero byte and a byte 26 inside a token make a name of it, even of digits.
; escaped program: '(5\x00 5\x1a 5\x001)
; escaped => (5\x00 5\x1a 5\x001)

;; Between forms the byte 26 is blank; it does not end a token.
; escaped program: \x1a'(\x1a1 \x1a 2\x1a 3 \x1a)\x1a
; escaped => (1 2\x1a 3)

;; Every blank there is.
; escaped program: '(1\t2\n3\x0b4\x0c5\r6 7)
; => (1 2 3 4 5 6 7)

;; Other control bytes are part of names.
; escaped program: '(\x01 a\x1bb \x7f)
; escaped => (\x01 A\x1bB \x7f)
