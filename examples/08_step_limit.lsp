; A program that never ends by itself. The worker stops it after 250000 evaluations, so it cannot
; keep a host waiting.
;
;@ expect error LISP evaluation step limit exceeded

(SETQ N 0)
(WHILE T
  (SETQ N (1+ N)))
