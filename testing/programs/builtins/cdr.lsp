(CDR '(1 2 3))
; => (2 3)

;; The rest of one element is the empty list, which is true.
(CDR '(1))
; => ()

(IF (CDR '(1)) 1 2)
; => 1

(CDR (CDR '(1)))
; => nil

(LIST (CDR NIL) (CDR '()) (CDR 5) (CDR "A") (CDR 'A) (CDR) (CDR '(1) '(2)))
; => (nil nil nil nil nil nil nil)

;; The list itself is unchanged.
(SETQ L '(1 2 3) M (CDR L) N (CDR M))
(LIST L M N)
; => ((1 2 3) (2 3) (3))
