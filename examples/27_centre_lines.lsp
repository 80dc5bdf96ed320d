; Centre lines: a cross through every circle, longer than the circle by a quarter.
;
;@ drawing drawings/plate.json
;@ load lib/points.lsp
;@ expect value 12

(DEFUN CROSS-AT (P REACH)
  (MAKE-LINE "CENTRES" (OFFSET-POINT P (- REACH) 0) (OFFSET-POINT P REACH 0))
  (MAKE-LINE "CENTRES" (OFFSET-POINT P 0 (- REACH)) (OFFSET-POINT P 0 REACH)))

(SETQ CIRCLES (SSGET "X" '((0 "CIRCLE"))) N 0)
(WHILE (< N (SSLENGTH CIRCLES))
  (SETQ DATA (ENTGET (SSNAME CIRCLES N)))
  (CROSS-AT (GROUP 10 DATA) (* 1.25 (GROUP 40 DATA)))
  (SETQ N (1+ N)))

(SSLENGTH (SSGET "X" '((8 "CENTRES"))))
