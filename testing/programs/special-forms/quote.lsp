(QUOTE)
; error: quote expects one argument

(QUOTE A B)
; error: quote expects one argument

(QUOTE A)
; => A

'A
; => A
; steps: 1

;; A quoted form keeps its kind.
'()
; => ()

'nil
; => nil

''A
; => (QUOTE A)

'(1 "two" (THREE nil))
; => (1 "two" (THREE nil))
; steps: 1
