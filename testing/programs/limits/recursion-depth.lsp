;; The call (F n) is evaluated at depth 0, its IF at 1, the inner call at 2, and so on: two levels a
;; call. (F 62) comes to a call with N = 0 at depth 124, its IF at 125, the IF's parts at 126, and
;; the parts of (< N 1) at 127.
(DEFUN F (N) (IF (< N 1) "bottom" (F (1- N))))
(F 62)
; => "bottom"

;; One call more puts them at 129.
(F 63)
; error: LISP evaluation depth exceeded

;; Without the IF a call is one level. The DEFUN counts 1, the calls at depths 0 to 128 with their
;; arguments 2 each: the last argument, at depth 129, is counted and fails.
(DEFUN G (N) (G 1))
(G 1)
; error: LISP evaluation depth exceeded
; steps: 259

;; An argument lies one level below its call.
(DEFUN H (N) N)
(H (H (H (H 5))))
; => 5
; steps: 10
