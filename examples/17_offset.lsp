; Offset: every line on layer WALLS gets a parallel at the thickness of the wall.
;
;@ drawing drawings/room.json
;@ load lib/points.lsp
;@ answer GETDIST 12
;@ expect value 5

(SETQ THICKNESS (GETDIST "Thickness of the walls: "))

; A parallel on the left of the line from P to Q.
(DEFUN PARALLEL (P Q GAP / DIRECTION)
  (SETQ DIRECTION (+ (ANGLE P Q) (/ PI 2)))
  (MAKE-LINE "OUTER" (POLAR P DIRECTION GAP) (POLAR Q DIRECTION GAP)))

(SETQ WALLS (SSGET "X" '((0 "LINE") (8 "WALLS"))) N 0)
(WHILE (< N (SSLENGTH WALLS))
  (SETQ DATA (ENTGET (SSNAME WALLS N)))
  (PARALLEL (GROUP 10 DATA) (GROUP 11 DATA) THICKNESS)
  (SETQ N (1+ N)))

N
