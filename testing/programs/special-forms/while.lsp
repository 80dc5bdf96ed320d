(WHILE)
; error: while expects a condition

(WHILE NIL)
; => nil
; steps: 2

(WHILE NIL (NOSUCH))
; => nil

;; The value of the last body form of the last pass.
(SETQ I 0)
(WHILE (< I 3) (SETQ I (1+ I)) (* I 10))
; => 30

;; A body that never ran gives nil, an empty body too.
(SETQ I 3)
(LIST (WHILE (< I 3) 5) (WHILE (PROGN (SETQ I (1- I)) (> I 0))))
; => (nil nil)

I
; => 0

(SETQ I 0)
(WHILE (< I 2) (SETQ I (1+ I)) (IF (= I 2) (NOSUCH)))
; error: unsupported LISP function: NOSUCH

(WHILE (NOSUCH) 1)
; error: unsupported LISP function: NOSUCH

;; An empty list is true, so this goes on until something else ends it.
(SETQ L '(1 2 3))
(WHILE L (SETQ L (CDR L)) (IF (= 0 (LENGTH L)) (SETQ L NIL)) 5)
; => 5

;; Loops within loops.
(SETQ I 0 N 0)
(WHILE (< I 3)
  (SETQ J 0)
  (WHILE (< J 4) (SETQ J (1+ J) N (1+ N)))
  (SETQ I (1+ I)))
N
; => 12
