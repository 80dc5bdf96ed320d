;; Names after the slash are local and begin as nil.
(DEFUN F (A / B) (SETQ B A) B)
; => F

(F 3)
; => 3

B
; error: unbound symbol: B

(DEFUN F (/ A B) (LIST A B)) (F)
; => (nil nil)

(DEFUN F (/) 1) (F)
; => 1

;; A second slash changes nothing.
(DEFUN F (A / B / C) (LIST A B C)) (F 1)
; => (1 nil nil)

;; No slash is a local: what it stands for is the caller's.
(SETQ / 7) (DEFUN F (A / B / C) (LIST A B C /)) (F 1)
; => (1 nil nil 7)

(DEFUN F (/ / A) (SETQ / 9) /) (LIST (F) /)
; => (9 9)

;; A slash as a name of its own only: /A is a parameter.
(DEFUN F (/A) /A) (F 4)
; => 4

;; Both parameter and local: nil in the end, and it counts for the arity.
(DEFUN F (A / A) A) (F 1)
; => nil

(F)
; error: wrong argument count for F

;; A local hides the global only inside.
(SETQ X 1)
(DEFUN F (/ X) (SETQ X 2) X)
(LIST (F) X)
; => (2 1)
