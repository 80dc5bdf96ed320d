;; The loop counts 2 for the SETQ, 1 for itself, 6 for each of 41665 passes, and 3 for the last
;; condition: 249996. The 250000th evaluation is the last that is allowed.
(SETQ I 0) (WHILE (< I 41665) (SETQ I (1+ I))) 1 2 3
; => 3
; steps: 249999

(SETQ I 0) (WHILE (< I 41665) (SETQ I (1+ I))) 1 2 3 4
; => 4
; steps: 250000

(SETQ I 0) (WHILE (< I 41665) (SETQ I (1+ I))) 1 2 3 4 5
; step limit: LISP evaluation step limit exceeded
; steps: 250001

;; The limit is looked at before anything of the form itself.
(SETQ I 0) (WHILE (< I 41665) (SETQ I (1+ I))) 1 2 3 4 (1 2)
; step limit: LISP evaluation step limit exceeded
; steps: 250001

;; A loop without end.
(WHILE T)
; step limit: LISP evaluation step limit exceeded
; steps: 250001

(DEFUN F (N) (WHILE T (SETQ N (1+ N)))) (F 0)
; step limit: LISP evaluation step limit exceeded
; steps: 250001

;; Every replay has all the steps again.
(SETQ I 0) (WHILE (< I 41665) (SETQ I (1+ I))) (GETPOINT) (GETPOINT)
; host call: GETPOINT ()
; steps: 249997
; answer: 1
; host call: GETPOINT ()
; steps: 249998
; answer: 2
; => 2
; steps: 249998

;; The limit passes through a host call's argument, and ends a pending run.
(IF (GETPOINT) (GETDIST (WHILE T)))
; host call: GETPOINT ()
; run: 2
; answer: T
; step limit: LISP evaluation step limit exceeded
; resume 2: T
; status: 3
