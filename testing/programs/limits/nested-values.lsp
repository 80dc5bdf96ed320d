;; Values nest deeper than programs and answers can be read.
(SETQ X NIL I 0)
(WHILE (< I 1000) (SETQ X (LIST X) I (1+ I)))
(SETQ Y NIL I 0)
(WHILE (< I 1000) (SETQ Y (CONS Y NIL) I (1+ I)))
(LIST (EQUAL X Y) (EQUAL X (LIST Y)) (LENGTH X))
; => (T nil 1)

(SETQ N 0)
(WHILE (CAR X) (SETQ X (CAR X) N (1+ N)))
(LIST X N)
; => ((nil) 999)
