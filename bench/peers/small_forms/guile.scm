(do ((round 0 (+ round 1))) ((= round rounds))
  (primitive-load file))
(if (> rounds 0) (display d))
