(SETQ I 0 N 40000)
(WHILE (< I N)
  (SETQ I (1+ I)))
I
