; A result that no response can hold. Doubling a list 20 times takes a moment and little room in the
; worker, but as text it would be millions of bytes long. The worker refuses to send it; the
; variables are kept all the same, so a later program can look at the list in pieces.
;
;@ keep
;@ expect refusal BadRequest

(SETQ PAIRS '(1 2))
(SETQ N 0)
(WHILE (< N 20)
  (COMMAND "LINE" (LIST N 0) (LIST N (* N N)) "")  ; How the list grows, but for the scale.
  (SETQ PAIRS (LIST PAIRS PAIRS))
  (SETQ N (1+ N)))

PAIRS
