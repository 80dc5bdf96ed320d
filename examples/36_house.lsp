; A house on its site: rooms in a coordinate system of their own, turned and moved by TRANS.
;
; System 1 of the drawing is the site, turned by 30 degrees. All sizes are given along its own axes;
; TO-WORLD takes each point to the world before it is drawn. Walls are doubled lines, interrupted by
; doors and windows; a report gives the area of each room, in square metres.
;
;@ drawing drawings/site.json
;@ load lib/sheets.lsp
;@ picture axes
;@ answer GETPOINT (8 6 0)
;@ expect value (("Living" 30) ("Kitchen" 12) ("Bath" 9) ("Bedroom" 15))

(DEFUN TO-WORLD (P) (TRANS P 1 0))

; --- Rooms: name, left, bottom, width, depth ------------------------------------------------------

(SETQ ROOMS
  '(("Living" 0 0 6 5)
    ("Kitchen" 6 0 4 3)
    ("Bath" 6 3 4 2.25)
    ("Bedroom" 0 5 6 2.5)))

; Openings: kind, where along the wall, wide; each wall is named by its two ends.
(SETQ WALLS
  '(((0 0) (10 0) ("window" 1 2) ("window" 7 1.5))
    ((10 0) (10 5.25) ("door" 1 1) ("window" 3.6 0.8))
    ((10 5.25) (6 5.25))
    ((6 5.25) (6 7.5))
    ((6 7.5) (0 7.5) ("window" 2 2))
    ((0 7.5) (0 0) ("window" 1 1) ("window" 4 2))
    ((6 0) (6 5.25) ("door" 1 0.9) ("door" 3.6 0.9))
    ((0 5) (6 5) ("door" 4 0.9))
    ((6 3) (10 3))))

(SETQ UNIT 12 THICK 0.24)

; A point of the plan, in metres from the house's corner, in the world.
(DEFUN AT (P)
  (TO-WORLD (ADD-POINTS CORNER (SCALE-POINT P UNIT))))

; --- Walls ----------------------------------------------------------------------------------------

(DEFUN PLAN-LINE (LAYER P Q) (MAKE-LINE LAYER (AT P) (AT Q)))

; Both faces of a wall from FROM to TO metres along the way from P in DIRECTION, closed at its ends.
(DEFUN WALL-PIECE (P DIRECTION FROM TO / HALF SIDE A B)
  (SETQ HALF (/ THICK 2) SIDE (+ DIRECTION (/ PI 2)))
  (SETQ A (POLAR P DIRECTION FROM) B (POLAR P DIRECTION TO))
  (MAKE-OUTLINE "WALLS" (LIST (AT (POLAR A SIDE HALF)) (AT (POLAR B SIDE HALF))
                              (AT (POLAR B SIDE (- HALF))) (AT (POLAR A SIDE (- HALF))))))

; A window has a pane along the middle; a door stands open at a right angle.
(DEFUN OPENING (KIND P DIRECTION FROM WIDE / A B)
  (SETQ A (POLAR P DIRECTION FROM) B (POLAR P DIRECTION (+ FROM WIDE)))
  (IF (EQUAL KIND "window")
      (PLAN-LINE "WINDOWS" A B)
      (PLAN-LINE "DOORS" A (POLAR A (+ DIRECTION (/ PI 2)) WIDE)))
  (IF (EQUAL KIND "door") (DOOR-SWING A DIRECTION WIDE)))

; The quarter of a circle that the door passes over, in six pieces.
(DEFUN DOOR-SWING (HINGE DIRECTION WIDE / N)
  (SETQ N 0)
  (WHILE (< N 6)
    (PLAN-LINE "DOORS"
               (POLAR HINGE (+ DIRECTION (DEGREES (* 15 N))) WIDE)
               (POLAR HINGE (+ DIRECTION (DEGREES (* 15 (1+ N)))) WIDE))
    (SETQ N (1+ N))))

; A wall in pieces between its openings, which are given in order.
(DEFUN MAKE-WALL (P Q OPENINGS / DIRECTION DONE KIND FROM WIDE)
  (SETQ DIRECTION (ANGLE P Q) DONE 0)
  (WHILE (> (LENGTH OPENINGS) 0)
    (SETQ KIND (CAR (CAR OPENINGS))
          FROM (CADR (CAR OPENINGS))
          WIDE (CADDR (CAR OPENINGS)))
    (WALL-PIECE P DIRECTION DONE FROM)
    (OPENING KIND P DIRECTION FROM WIDE)
    (SETQ DONE (+ FROM WIDE) OPENINGS (CDR OPENINGS)))
  (WALL-PIECE P DIRECTION DONE (DISTANCE P Q)))

; --- Rooms ----------------------------------------------------------------------------------------

; Writes name and area into the middle of a room, and gives both.
(DEFUN MAKE-ROOM (ROOM / MIDDLE AREA)
  (SETQ MIDDLE (LIST (+ (NTH 1 ROOM) (/ (NTH 3 ROOM) 2)) (+ (NTH 2 ROOM) (/ (NTH 4 ROOM) 2))))
  (SETQ AREA (* (NTH 3 ROOM) (NTH 4 ROOM)))
  (MAKE-TEXT "ROOMS" (AT MIDDLE) 4 (CAR ROOM))
  (MAKE-NUMBER "ROOMS" (OFFSET-POINT (AT MIDDLE) 0 -6) 4 AREA)
  (LIST (CAR ROOM) AREA))

; --- The plan -------------------------------------------------------------------------------------

(COMMAND "LAYER" "M" "WALLS" "C" "black" "WALLS" "M" "WINDOWS" "C" "blue" "WINDOWS"
         "M" "DOORS" "C" "green" "DOORS" "M" "ROOMS" "C" "red" "ROOMS" "")
(SETQ CORNER (GETPOINT "Corner of the house, on the site: "))

(SETQ REST WALLS)
(WHILE (> (LENGTH REST) 0)
  (MAKE-WALL (CAR (CAR REST)) (CADR (CAR REST)) (CDR (CDR (CAR REST))))
  (SETQ REST (CDR REST)))

(SETQ REPORT '() REST ROOMS)
(WHILE (> (LENGTH REST) 0)
  (SETQ REPORT (CONS (MAKE-ROOM (CAR REST)) REPORT) REST (CDR REST)))
(REVERSE REPORT)
