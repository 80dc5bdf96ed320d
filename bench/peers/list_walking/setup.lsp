(SETQ L '() I 0)
(WHILE (< I 1000)
  (SETQ L (CONS I L) I (1+ I)))
