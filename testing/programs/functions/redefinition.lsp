;; A call keeps the record that it found, to its end.
(DEFUN F (A) (DEFUN F (A) 2) 1)
(LIST (F 0) (F 0))
; => (1 2)

;; Redefinition by an argument: look-up and arity came first.
(DEFUN F (A) (LIST 1 A))
(F (DEFUN F () 2))
; => (1 F)

(F)
; => 2

(F 1)
; error: wrong argument count for F

;; A body that replaces itself goes on with its own next form.
(DEFUN F () (DEFUN F () 9) (SETQ A 5) (+ A 1))
(LIST (F) (F))
; => (6 9)

;; A function defined inside a function is global.
(DEFUN OUTER (A) (DEFUN INNER (B) (* A B)) (INNER 5))
(SETQ A 100)
(LIST (OUTER 2) (INNER 5))
; => (10 500)
