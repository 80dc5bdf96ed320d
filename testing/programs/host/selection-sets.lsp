(SSLENGTH)
; error: sslength expects one selection set

(SSLENGTH 1 2)
; error: sslength expects one selection set

(SSLENGTH '(1 2))
; error: sslength expects a selection set

(SSLENGTH '())
; error: sslength expects a selection set

(SSLENGTH NIL)
; error: sslength expects a selection set

(SSLENGTH '$KVSEL)
; error: sslength expects a selection set

;; The mark is a symbol of exactly these six bytes.
(SSLENGTH '("$KVSEL" 1))
; error: sslength expects a selection set

(SSLENGTH '($KVSEL2 1))
; error: sslength expects a selection set

(SSLENGTH '($KVSE 1))
; error: sslength expects a selection set

;; Written by hand it is one, in any case.
(LIST (SSLENGTH '($KVSEL)) (SSLENGTH '($kvsel "A" "B")) (SSLENGTH (CONS '$KVSEL '(1 2 3))))
; => (0 2 3)

(SSLENGTH (SSGET))
; host call: SSGET ()
; answer: ($KVSEL <e1> <e2>)
; => 2

(SSLENGTH (SSGET))
; host call: SSGET ()
; answer: nil
; error: sslength expects a selection set

;; A selection set is a list and is written as one.
'($kvsel 1 "A")
; => ($KVSEL 1 "A")
