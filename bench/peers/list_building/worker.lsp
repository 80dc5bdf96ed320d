(SETQ L '() I 0)
(WHILE (< I 25000)
  (SETQ L (CONS I L) I (1+ I)))
(CAR L)
