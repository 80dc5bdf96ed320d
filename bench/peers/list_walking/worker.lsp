(SETQ I 0)
(WHILE (< I 18)
  (SETQ P L SUM 0)
  (WHILE (> (LENGTH P) 0)
    (SETQ SUM (+ SUM (CAR P)) P (CDR P)))
  (SETQ I (1+ I)))
SUM
