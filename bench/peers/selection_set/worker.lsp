(SETQ J 0)
(WHILE (< J 1400)
  (SETQ I 0)
  (WHILE (< I (SSLENGTH S))
    (SETQ E (SSNAME S I) I (1+ I)))
  (SETQ J (1+ J)))
E
