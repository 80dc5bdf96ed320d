; A grid of axes in a rotated coordinate system: the site lies at 30 degrees, and its plan counts
; along its own axes. TRANS takes every point from system 1, the site, to the world.
;
;@ drawing drawings/site.json
;@ load lib/points.lsp
;@ picture axes cells
;@ expect value ((40 30 0) (98.92304845413264 167.94228634059948 0))

(DEFUN SITE (X Y) (TRANS (LIST X Y 0) 1 0))

(SETQ LETTERS '("A" "B" "C" "D" "E") NUMBERS '("1" "2" "3" "4"))
(SETQ SPACING 30 LENGTH-X (* 4 SPACING) LENGTH-Y (* 3 SPACING) OVER 8)

(DEFUN AXIS (P Q NAME)
  (MAKE-LINE "AXES" P Q)
  (MAKE-CIRCLE "AXES" (POLAR P (ANGLE Q P) 5) 5)
  (MAKE-TEXT "NAMES" (OFFSET-POINT (POLAR P (ANGLE Q P) 5) 0 -2) 4 NAME))

(SETQ N 0)
(WHILE (< N 5)
  (AXIS (SITE (* N SPACING) (- OVER)) (SITE (* N SPACING) (+ LENGTH-Y OVER)) (NTH N LETTERS))
  (SETQ N (1+ N)))

(SETQ N 0)
(WHILE (< N 4)
  (AXIS (SITE (- OVER) (* N SPACING)) (SITE (+ LENGTH-X OVER) (* N SPACING)) (NTH N NUMBERS))
  (SETQ N (1+ N)))

(SETQ ROW 0)
(WHILE (< ROW 4)
  (SETQ COLUMN 0)
  (WHILE (< COLUMN 5)
    (COMMAND "LAYER" "S" "COLUMNS" "")
    (COMMAND "PLINE"
             (SITE (- (* COLUMN SPACING) 2) (- (* ROW SPACING) 2))
             (SITE (+ (* COLUMN SPACING) 2) (- (* ROW SPACING) 2))
             (SITE (+ (* COLUMN SPACING) 2) (+ (* ROW SPACING) 2))
             (SITE (- (* COLUMN SPACING) 2) (+ (* ROW SPACING) 2))
             "C")
    (SETQ COLUMN (1+ COLUMN)))
  (SETQ ROW (1+ ROW)))

(LIST (SITE 0 0) (SITE LENGTH-X LENGTH-Y))
