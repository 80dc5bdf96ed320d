;; Nil, numbers and strings evaluate to themselves, one step each.
nil
; => nil
; steps: 1

5
; => 5
; steps: 1

"A string keeps its case"
; => "A string keeps its case"
; steps: 1

-0.0
; => -0
