; A flange on a sheet: front view and section, hatched, with centre lines and dimensions.
;
; The person picks a place and how wide the pipe is; the other sizes come from a table, as they do
; from a standard. The section stands to the right of the front view, at the same height.
;
;@ load lib/sheets.lsp
;@ answer GETPOINT (80 80 0)
;@ answer GETDIST 48
;@ expect value ("DN 50" 8)

; --- Sizes: name, bore, outer diameter, bolt circle, holes, their diameter, thickness, hub -------

(SETQ SIZES
  '(("DN 25" 28 100 75 4 11 14 40)
    ("DN 40" 43 120 90 4 13 16 56)
    ("DN 50" 54 130 105 8 13 18 70)
    ("DN 80" 82 150 125 8 17 20 100)))

; The first size whose bore is at least WIDTH, or the largest.
(DEFUN SIZE-FOR (WIDTH / ROWS)
  (SETQ ROWS SIZES)
  (WHILE (AND (> (LENGTH ROWS) 1) (< (CADR (CAR ROWS)) WIDTH))
    (SETQ ROWS (CDR ROWS)))
  (CAR ROWS))

; --- Parts of the drawing -------------------------------------------------------------------------

; COUNT holes around CENTRE, each with a cross.
(DEFUN BOLT-HOLES (CENTRE RADIUS COUNT HOLE / N P)
  (SETQ N 0)
  (WHILE (< N COUNT)
    (SETQ P (POLAR CENTRE (* (+ N 0.5) (/ (* 2 PI) COUNT)) RADIUS))
    (MAKE-CIRCLE "OUTLINE" P (/ HOLE 2))
    (MAKE-CROSS "AXES" P (/ HOLE 2))
    (SETQ N (1+ N))))

; Lines at 45 degrees, GAP apart, over a rectangle.
(DEFUN HATCH (LOW WIDTH HEIGHT GAP / OFFSET FROM TO)
  (SETQ OFFSET GAP)
  (WHILE (< OFFSET (+ WIDTH HEIGHT))
    (SETQ FROM (IF (< OFFSET HEIGHT)
                   (OFFSET-POINT LOW 0 OFFSET)
                   (OFFSET-POINT LOW (- OFFSET HEIGHT) HEIGHT)))
    (SETQ TO (IF (< OFFSET WIDTH)
                 (OFFSET-POINT LOW OFFSET 0)
                 (OFFSET-POINT LOW WIDTH (- OFFSET WIDTH))))
    (MAKE-LINE "HATCH" FROM TO)
    (SETQ OFFSET (+ OFFSET GAP))))

; One cut face of the section, from HALF-LOW to HALF-HIGH away from the axis, above and below it.
(DEFUN CUT (AXIS X WIDTH HALF-LOW HALF-HIGH / HEIGHT)
  (SETQ HEIGHT (- HALF-HIGH HALF-LOW))
  (MAKE-BOX "OUTLINE" (OFFSET-POINT AXIS X HALF-LOW) WIDTH HEIGHT)
  (HATCH (OFFSET-POINT AXIS X HALF-LOW) WIDTH HEIGHT 4)
  (MAKE-BOX "OUTLINE" (OFFSET-POINT AXIS X (- HALF-HIGH)) WIDTH HEIGHT)
  (HATCH (OFFSET-POINT AXIS X (- HALF-HIGH)) WIDTH HEIGHT 4))

; --- The sheet ------------------------------------------------------------------------------------

(SETQ CENTRE (GETPOINT "Centre of the front view: "))
(SETQ SIZE (SIZE-FOR (GETDIST CENTRE "Width of the pipe: ")))
(SETQ NAME (NTH 0 SIZE)
      BORE (NTH 1 SIZE)
      OUTER (NTH 2 SIZE)
      CIRCLE (NTH 3 SIZE)
      COUNT (NTH 4 SIZE)
      HOLE (NTH 5 SIZE)
      THICK (NTH 6 SIZE)
      HUB (NTH 7 SIZE))

(COMMAND "LAYER" "M" "OUTLINE" "C" "black" "OUTLINE" "M" "AXES" "C" "red" "AXES"
         "M" "HATCH" "C" "cyan" "HATCH" "M" "DIMENSIONS" "C" "blue" "DIMENSIONS" "")

; The front view.
(MAKE-CIRCLE "OUTLINE" CENTRE (/ OUTER 2))
(MAKE-CIRCLE "OUTLINE" CENTRE (/ HUB 2))
(MAKE-CIRCLE "OUTLINE" CENTRE (/ BORE 2))
(MAKE-CIRCLE "AXES" CENTRE (/ CIRCLE 2))
(MAKE-CROSS "AXES" CENTRE (/ OUTER 2))
(BOLT-HOLES CENTRE (/ CIRCLE 2) COUNT HOLE)

; The section: the plate between hub and bolt holes, the rim outside of them, the hub.
(SETQ AXIS (OFFSET-POINT CENTRE (+ OUTER 10) 0) DEPTH (* 2.2 THICK))
(CUT AXIS 0 THICK (/ (+ CIRCLE HOLE) 2) (/ OUTER 2))
(CUT AXIS 0 THICK (/ BORE 2) (/ (- CIRCLE HOLE) 2))
(CUT AXIS THICK (- DEPTH THICK) (/ BORE 2) (/ HUB 2))
(MAKE-LINE "OUTLINE" (OFFSET-POINT AXIS 0 (/ OUTER -2)) (OFFSET-POINT AXIS 0 (/ OUTER 2)))
(MAKE-LINE "OUTLINE" (OFFSET-POINT AXIS DEPTH (/ BORE -2)) (OFFSET-POINT AXIS DEPTH (/ BORE 2)))
(MAKE-LINE "AXES" (OFFSET-POINT AXIS -6 0) (OFFSET-POINT AXIS (+ DEPTH 6) 0))

; Dimensions: across, along the axis, and the diameters beside the section.
(MAKE-DIMENSION "DIMENSIONS"
                (OFFSET-POINT AXIS 0 (/ OUTER 2))
                (OFFSET-POINT AXIS THICK (/ OUTER 2))
                8)
(MAKE-DIMENSION "DIMENSIONS"
                (OFFSET-POINT AXIS DEPTH (/ OUTER -2))
                (OFFSET-POINT AXIS 0 (/ OUTER -2))
                8)
(MAKE-DIMENSION "DIMENSIONS"
                (OFFSET-POINT AXIS DEPTH (/ BORE 2))
                (OFFSET-POINT AXIS DEPTH (/ BORE -2))
                12)
(MAKE-DIMENSION "DIMENSIONS"
                (OFFSET-POINT AXIS DEPTH (/ HUB 2))
                (OFFSET-POINT AXIS DEPTH (/ HUB -2))
                24)
(MAKE-DIMENSION "DIMENSIONS"
                (OFFSET-POINT AXIS DEPTH (/ OUTER 2))
                (OFFSET-POINT AXIS DEPTH (/ OUTER -2))
                36)
(COMMAND "TEXT" "J" "C" (OFFSET-POINT CENTRE 0 (- (/ OUTER -2) 16)) 8 0 NAME)
(LIST NAME COUNT)
