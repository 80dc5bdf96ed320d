"keeps Case and  blanks"
; => "keeps Case and  blanks"

""
; => ""

;; n, r and t stand for control bytes, everything else for itself.
; escaped program: "a\\nb\\rc\\td"
; escaped => "a\nb\rc\td"

"a\qb"
; => "aqb"

"a\"b"
; => "a"b"

"a\\b"
; => "a\b"

"\N\R\T"
; => "NRT"

;; Line breaks, semicolons, parentheses and zero bytes inside are kept.
; escaped program: "a\nb\r\n ; (\x00\x1a\xff"
; escaped => "a\nb\r\n ; (\x00\x1a\xff"

;; The text form escapes nothing.
(LIST "a\"b" "\\" "(1 2)")
; => ("a"b" "\" "(1 2)")

"abc
; read error: unterminated string

;; A backslash at the very end, a backslash before the last quote.
"abc\
; read error: unterminated string

"abc\"
; read error: unterminated string

"
; read error: unterminated string

;; A string needs no blank around it.
'(a"b"c"d"1)
; => (A "b" C "d" 1)
