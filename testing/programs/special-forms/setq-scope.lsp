;; A name that the call has bound is assigned there; any other is a global.
(SETQ A 1 G 1)
(DEFUN F (A / B) (SETQ A 10 B 20 G 30) (LIST A B G))
(LIST (F 2) A G)
; => ((10 20 30) 1 30)

B
; error: unbound symbol: B

;; Pairs before a bad target have been assigned when the program fails.
(DEFUN H () (SETQ G 31 "X" 1))
(H)
; error: setq target must be a symbol

;; But a failing program leaves nothing behind.
G
; => 30
