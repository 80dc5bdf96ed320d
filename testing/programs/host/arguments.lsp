;; Evaluated from left to right and sent as they are, of any kind and number.
(COMMAND "CIRCLE" '(1 2) (+ 2 3) NIL 'A -0.0)
; host call: COMMAND ("CIRCLE" (1 2) 5 nil A -0)
; arguments: 6
; steps: 9
; answer: T
; => T
; steps: 9

(SETQ S "keeps 'everything'" N 0.1)
(GETPOINT S (LIST N (LIST)))
; host call: GETPOINT ("keeps 'everything'" (0.10000000000000001 ()))
; arguments: 2
; answer: (1 2)
; => (1 2)

;; An argument that fails: no call is made.
(GETPOINT (/ 1 0))
; error: division by zero

(GETPOINT 1 (NOSUCH) (GETDIST))
; error: unsupported LISP function: NOSUCH
; steps: 3

;; An argument that asks the host itself comes first.
(ENTGET (CAR (SSGET)))
; host call: SSGET ()
; steps: 3
; answer: ("first" "second")
; host call: ENTGET ("first")
; arguments: 1
; answer: ((0 "LINE"))
; => ((0 "LINE"))
