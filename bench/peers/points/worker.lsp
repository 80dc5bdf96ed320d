(SETQ P '(0 0 0) I 0)
(WHILE (< I 4000)
  (SETQ P (PLUS (SCALED 0.5 P) '(1.5 2.5 0.5)) I (1+ I)))
(CAR P)
