; A flange as a workshop gets it: front view and section on a sheet of A4 at 1:1, with line weights,
; centre lines, a hatch, dimensions and notes.
;
;@ load lib/drafting.lsp
;@ picture sheet A4 landscape scale 1:1
;@ expect value 2

(DRAFTING-LAYERS)

; The front view.
(SETQ CENTRE '(0 0))
(MAKE-CIRCLE "OUTLINE" CENTRE 65)
(MAKE-CIRCLE "OUTLINE" CENTRE 35)
(MAKE-CIRCLE "OUTLINE" CENTRE 27)
(MAKE-CIRCLE "CENTRE" CENTRE 52.5)
(MAKE-CENTRE-CROSS CENTRE 65)
(SETQ N 0)
(WHILE (< N 8)
  (SETQ WAY (DEGREES (* N 45)) HOLE (POLAR CENTRE WAY 52.5))
  (MAKE-CIRCLE "OUTLINE" HOLE 6.5)
  (MAKE-CENTRE-LINE (POLAR HOLE WAY -6.5) (POLAR HOLE WAY 6.5))
  (SETQ N (1+ N)))

; The plane of the section: heavy ends, arrows, letters.
(DEFUN SECTION-MARK (Y SIDE)
  (MAKE-LINE "OUTLINE" (LIST 0 (* SIDE Y)) (LIST 0 (* SIDE (+ Y 5))))
  (MAKE-LINE "DIMENSIONS" (LIST 0 (* SIDE (+ Y 5))) (LIST 8 (* SIDE (+ Y 5))))
  (MAKE-ARROWHEAD (LIST 8 (* SIDE (+ Y 5))) 0)
  (MAKE-NOTE (LIST 10 (- (* SIDE (+ Y 5)) 2.5)) 5 0 0 "A"))
(SECTION-MARK 70 1)
(SECTION-MARK 70 -1)

; The section: its upper half, and its mirror image below the axis.
(COMMAND "LAYER" "S" "CUT" "")
(COMMAND "PLINE" "90,59" "108,59" "108,64" "107,65" "91,65" "90,64" "C")
(COMMAND "PLINE" "90,27" "130,27" "130,34" "129,35" "112,35" "A" "S" "109.171573,36.171573" "108,39"
         "L" "108,46" "90,46" "C")
(SETQ CUTS (SSGET "X" '((0 "POLYLINE") (8 "CUT"))))
(COMMAND "MIRROR" CUTS "" CENTRE "1,0" "N")
(COMMAND "LAYER" "S" "SECTION" "")
(COMMAND "HATCH" "LINE" 2.5 45 (SSGET "X" '((0 "POLYLINE") (8 "CUT"))) "")
(DEFUN EDGE (X LOW HIGH)
  (MAKE-LINE "OUTLINE" (LIST X LOW) (LIST X HIGH)))
(EDGE 90 -27 27)
(EDGE 130 -27 27)
(EDGE 90 46 59)
(EDGE 108 46 59)
(EDGE 90 -59 -46)
(EDGE 108 -59 -46)
(MAKE-CENTRE-LINE '(90 0) '(130 0))
(MAKE-CENTRE-LINE '(90 52.5) '(108 52.5))
(MAKE-CENTRE-LINE '(90 -52.5) '(108 -52.5))
(MAKE-NOTE '(110 76) 5 0 1 "A - A")

; Dimensions.
(DIMENSION-X '(90 65) '(108 65) 69 "18")
(DIMENSION-X '(90 -64) '(130 -35) -74 "40")
(DIMENSION-Y '(130 -35) '(130 35) 142 "%%c70")
(DIMENSION-Y '(108 -65) '(108 65) 154 "%%c130")
(DIMENSION-Y '(90 -27) '(90 27) 80 "%%c54 H7")
(MAKE-LEADER (POLAR CENTRE (DEGREES 56.5) 52.5) '(45 68) "%%c105")
(MAKE-LEADER (POLAR (POLAR CENTRE (DEGREES -45) 52.5) (DEGREES -45) 6.5) '(48 -68) "8 x %%c13")
(MAKE-LEADER '(109.17 36.17) '(116 50) "R4")
(MAKE-NOTE '(-65 -72) 3.5 0 0 "Edges 1 x 45%%d")
(MAKE-NOTE '(-65 -78) 3.5 0 0 "DN 50, steel")

(SSLENGTH CUTS)
