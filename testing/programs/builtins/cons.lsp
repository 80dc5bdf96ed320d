(CONS 1 '(2 3))
; => (1 2 3)

(CONS 1 NIL)
; => (1)

(CONS 1 '())
; => (1)

(CONS '(1) '(2))
; => ((1) 2)

;; There are no dotted pairs.
(CONS 1 2)
; => (1 2)

(CONS 1 "A")
; => (1 "A")

(CONS NIL NIL)
; => (nil)

(CONS 1)
; error: cons expects two arguments

(CONS)
; error: cons expects two arguments

(CONS 1 2 3)
; error: cons expects two arguments

;; Two lists with a common rest do not disturb each other.
(SETQ L '(3) M (CONS 2 L) N (CONS 1 L) M (CONS 0 M))
(LIST L M N (EQUAL (CDR M) '(2 3)))
; => ((3) (0 2 3) (1 3) T)

(SETQ L NIL I 0)
(WHILE (< I 5) (SETQ L (CONS I L) I (1+ I)))
L
; => (4 3 2 1 0)
