''A
; => (QUOTE A)

'''A
; => (QUOTE (QUOTE A))

'('a '"b" '1 'nil '() '(c 'd))
; => ((QUOTE A) (QUOTE "b") (QUOTE 1) (QUOTE nil) (QUOTE ()) (QUOTE (C (QUOTE D))))

;; A quote mark ends a token.
'(a'b)
; => (A (QUOTE B))

;; Blanks and comments may follow the mark.
' ;; the form
 A
; => A

'
; read error: unexpected end of input

(LIST ')
; read error: unexpected ')'

'(1 '
; read error: unexpected end of input
