;; A callee sees its caller's parameters and locals, by value.
(DEFUN INNER () (LIST A B))
(DEFUN OUTER (A / B) (SETQ B 2) (INNER))
(OUTER 1)
; => (1 2)

;; And those of its caller's caller.
(DEFUN MIDDLE (B) (INNER))
(DEFUN OUTER (A) (MIDDLE (+ A 1)))
(OUTER 5)
; => (5 6)

;; What it assigns to them is gone when it returns.
(DEFUN INNER () (SETQ A 99) A)
(DEFUN OUTER (A) (LIST (INNER) A))
(OUTER 1)
; => (99 1)

;; A name that is bound in no call is a global, through any number of calls.
(DEFUN INNER () (SETQ G 7))
(DEFUN OUTER (A) (INNER) G)
(OUTER 1)
; => 7

G
; => 7

;; A parameter of the callee hides the copied binding.
(DEFUN INNER (A) (SETQ A (* A 2)) A)
(DEFUN OUTER (A) (LIST (INNER 10) A))
(OUTER 1)
; => (20 1)
