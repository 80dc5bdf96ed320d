;; The callee's copy of its caller's bindings is older than the arguments: what an argument assigns
;; to the caller's variable is not seen by the callee, but by the caller.
(DEFUN INNER (B) (LIST A B))
(DEFUN OUTER (A) (LIST (INNER (SETQ A 9)) A))
(OUTER 1)
; => ((1 9) 9)

;; Unless the name is also a parameter.
(DEFUN INNER (A B) (LIST A B))
(DEFUN OUTER (A) (INNER A (SETQ A 9)))
(OUTER 1)
; => (1 9)

;; Globals have no copy: the assignment is seen.
(SETQ G 1)
(DEFUN INNER (B) (LIST G B))
(INNER (SETQ G 5))
; => (5 5)

;; Arguments of an argument's call work on a copy as well.
(DEFUN TOUCH (X) (SETQ A 50) A)
(DEFUN INNER (B) (LIST A B))
(DEFUN OUTER (A) (LIST (INNER (TOUCH 0)) A))
(OUTER 1)
; => ((1 50) 1)

;; Two arguments, each assigning the caller's variable.
(DEFUN INNER (B C) (LIST A B C))
(DEFUN OUTER (A) (LIST (INNER (SETQ A (+ A 1)) (SETQ A (+ A 1))) A))
(OUTER 1)
; => ((1 2 3) 3)

;; A callee that assigns its copy, while the caller's has changed meanwhile.
(DEFUN INNER (B) (SETQ A (+ A 100)) A)
(DEFUN OUTER (A) (LIST (INNER (SETQ A 2)) A))
(OUTER 1)
; => (101 2)

;; A call among the arguments of a call: each callee has the copy of its own moment.
(DEFUN ONE (X) A)
(DEFUN TWO (X Y) (LIST A X Y))
(DEFUN OUTER (A) (LIST (TWO (SETQ A 2) (ONE (SETQ A 3))) A))
(OUTER 1)
; => ((1 2 2) 3)

(DEFUN OUTER (A) (LIST (TWO (ONE (SETQ A 2)) (ONE (SETQ A 3))) A))
(OUTER 1)
; => ((1 1 2) 3)

(DEFUN OUTER (A) (LIST (ONE (ONE (ONE (SETQ A 2)))) A (ONE (PROGN (SETQ A 4) (ONE (SETQ A 5)))) A))
(OUTER 1)
; => (1 2 2 5)

;; A callee's own assignment while its caller is still gathering arguments.
(DEFUN CHANGE (X) (SETQ A (+ A 10)) A)
(DEFUN OUTER (A) (LIST (TWO (CHANGE 0) (CHANGE (SETQ A 2))) A))
(OUTER 1)
; => ((1 11 11) 2)

;; Not everything that is assigned is the caller's: B is local to the one in the middle.
(DEFUN MIDDLE (X / B) (LIST (TWO (SETQ B 5) (SETQ A 6)) A B))
(DEFUN OUTER (A) (LIST (MIDDLE (SETQ A 2)) A))
(OUTER 1)
; => (((1 5 6) 6 5) 2)
