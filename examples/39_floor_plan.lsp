; A small house, drawn in metres, on a sheet of A3 at 1:50: hatched walls, doors with their swing,
; windows, dimensions along two sides.
;
;@ load lib/drafting.lsp
;@ picture sheet A3 landscape scale 1:50 units m
;@ expect value 13

(SETQ PAPER 0.05)  ; A millimetre of paper is 5 cm of the house.
(DRAFTING-LAYERS)
(COMMAND "LAYER" "M" "MASONRY" "C" "black" "" "LW" 0.5 "" "M" "GLASS" "C" "blue" ""
         "LW" 0.25 "" "")

; A piece of wall between two corners.
(DEFUN WALL (LEFT LOW RIGHT HIGH)
  (ENTMAKE (LIST '(0 "POLYLINE") '(8 "MASONRY") '(70 1) (LIST 10 (LIST LEFT LOW))
                 (LIST 10 (LIST RIGHT LOW)) (LIST 10 (LIST RIGHT HIGH))
                 (LIST 10 (LIST LEFT HIGH)))))

; A window in a wall: sills, and the glass in the middle. The gap in the wall is there already.
(DEFUN GLASS (LEFT LOW RIGHT HIGH / LIES)
  (SETQ LIES (> (- RIGHT LEFT) (- HIGH LOW)))
  (MAKE-LINE "GLASS" (LIST LEFT LOW) (IF LIES (LIST RIGHT LOW) (LIST LEFT HIGH)))
  (MAKE-LINE "GLASS" (IF LIES (LIST LEFT HIGH) (LIST RIGHT LOW)) (LIST RIGHT HIGH))
  (IF LIES
      (MAKE-LINE "GLASS" (LIST LEFT (/ (+ LOW HIGH) 2)) (LIST RIGHT (/ (+ LOW HIGH) 2)))
      (MAKE-LINE "GLASS" (LIST (/ (+ LEFT RIGHT) 2) LOW) (LIST (/ (+ LEFT RIGHT) 2) HIGH))))

; A door that hangs at HINGE, as wide as WIDTH, open in the direction OPEN; closed it points CLOSED.
(DEFUN DOOR (HINGE WIDTH OPEN CLOSED)
  (MAKE-LINE "DIMENSIONS" HINGE (POLAR HINGE OPEN WIDTH))
  (IF (< OPEN CLOSED)
      (ENTMAKE (LIST '(0 "ARC") '(8 "DIMENSIONS") (LIST 10 HINGE) (LIST 40 WIDTH) (LIST 50 OPEN)
                     (LIST 51 CLOSED)))
      (ENTMAKE (LIST '(0 "ARC") '(8 "DIMENSIONS") (LIST 10 HINGE) (LIST 40 WIDTH) (LIST 50 CLOSED)
                     (LIST 51 OPEN)))))

(SETQ RIGHT-ANGLE (/ PI 2))

; Outer walls of 36 cm, 11 by 8 metres outside; windows and the front door are gaps.
(WALL 0 0 1.5 0.36)
(WALL 3.5 0 6.2 0.36)
(WALL 7.2 0 11 0.36)
(WALL 0 0.36 0.36 7.64)
(WALL 0 7.64 2 8)
(WALL 4 7.64 7.5 8)
(WALL 9.5 7.64 11 8)
(WALL 10.64 0.36 11 2.5)
(WALL 10.64 4.5 11 7.64)
; Inner walls of 12 cm.
(WALL 5.4 0.36 5.52 1.2)
(WALL 5.4 2.1 5.52 7.64)
(WALL 5.52 4.2 6.4 4.32)
(WALL 7.3 4.2 10.64 4.32)

(SETQ WALLS (SSGET "X" '((8 "MASONRY"))))
(COMMAND "LAYER" "S" "SECTION" "")
(COMMAND "HATCH" "LINE" 1.5 45 WALLS "")

(GLASS 1.5 0 3.5 0.36)
(GLASS 2 7.64 4 8)
(GLASS 7.5 7.64 9.5 8)
(GLASS 10.64 2.5 11 4.5)
(DOOR '(6.2 0.36) 1 RIGHT-ANGLE 0)
(DOOR '(5.4 2.1) 0.9 PI (* 3 RIGHT-ANGLE))
(DOOR '(6.4 4.32) 0.9 RIGHT-ANGLE 0)

; Rooms, each with its area inside of the walls.
(DEFUN ROOM (P NAME AREA)
  (MAKE-NOTE P 5 0 1 NAME)
  (MAKE-NOTE (OFFSET-POINT P 0 -0.4) 3.5 0 1 AREA))
(ROOM '(2.9 4.4) "Living room" "36.7 m²")
(ROOM '(8.2 6.1) "Bedroom" "17.0 m²")
(ROOM '(8.4 2.4) "Kitchen" "19.7 m²")

; Dimensions: the openings, then the whole, below and to the left.
(DIMENSION-X '(0 0) '(1.5 0) -0.6 "1.50")
(DIMENSION-X '(1.5 0) '(3.5 0) -0.6 "2.00")
(DIMENSION-X '(3.5 0) '(6.2 0) -0.6 "2.70")
(DIMENSION-X '(6.2 0) '(7.2 0) -0.6 "1.00")
(DIMENSION-X '(7.2 0) '(11 0) -0.6 "3.80")
(DIMENSION-X '(0 0) '(11 0) -1.2 "11.00")
(DIMENSION-Y '(0 0) '(0 8) -0.6 "8.00")
(DIMENSION-Y '(11 0) '(11 2.5) 11.6 "2.50")
(DIMENSION-Y '(11 2.5) '(11 4.5) 11.6 "2.00")
(DIMENSION-Y '(11 4.5) '(11 8) 11.6 "3.50")

(SSLENGTH WALLS)
