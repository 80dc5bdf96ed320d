;; However many locals there are, each begins as nil, and hides the global and the caller's.
(SETQ Z12 "global")
(DEFUN INNER () (LIST Z1 Z12 A))
(DEFUN OUTER (A / Z1 Z2 Z3 Z4 Z5 Z6 Z7 Z8 Z9 Z10 Z11 Z12) (SETQ Z1 5) (INNER))
(OUTER 1)
; => (5 nil 1)

Z12
; => "global"

;; What a callee assigns to its caller's locals is lost, also to one that nobody has touched yet.
(DEFUN INNER () (SETQ Z12 7) Z12)
(DEFUN OUTER (A / Z1 Z2 Z3 Z4 Z5 Z6 Z7 Z8 Z9 Z10 Z11 Z12) (LIST (INNER) Z12))
(OUTER 1)
; => (7 nil)

Z12
; => "global"

;; Two levels down.
(DEFUN MIDDLE (B) (LIST (INNER) Z12))
(DEFUN OUTER (/ Z1 Z2 Z3 Z4 Z5 Z6 Z7 Z8 Z9 Z10 Z11 Z12) (LIST (MIDDLE 1) Z12))
(OUTER)
; => ((7 nil) nil)

;; An argument's assignment is not seen by the callee.
(DEFUN SHOW (X) (LIST Z3 X))
(DEFUN OUTER (/ Z1 Z2 Z3 Z4 Z5 Z6 Z7 Z8 Z9 Z10 Z11 Z12) (LIST (SHOW (SETQ Z3 4)) Z3))
(OUTER)
; => ((nil 4) 4)

;; A parameter that is local, too.
(DEFUN F (A Z5 / Z1 Z2 Z3 Z4 Z5 Z6 Z7 Z8 Z9 Z10 Z11 Z12 A) (LIST A Z5))
(F 1 2)
; => (nil nil)

;; A recursion in which every level has its own.
(DEFUN F (N / Z1 Z2 Z3 Z4 Z5 Z6 Z7 Z8 Z9 Z10 Z11 Z12)
  (SETQ Z7 N)
  (IF (< N 1) (LIST Z7 Z8) (CONS (F (1- N)) (LIST Z7 Z8))))
(F 2)
; => (((0 nil) 1 nil) 2 nil)

;; Many parameters, and a definition made again and again.
(SETQ I 0)
(WHILE (< I 3) (DEFUN F (P1 P2 P3 P4 P5 P6 P7 P8 P9 P10 P11 P12 P13 P14 P15 P16 P17 P18 P19 P20) (LIST P1 P20 I)) (SETQ I (1+ I)))
(F 1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16 17 18 19 20)
; => (1 20 3)

(F 1)
; error: wrong argument count for F
