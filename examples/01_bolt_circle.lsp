; A bolt circle: six holes, evenly spread around a centre.
;
; GETPOINT and GETDIST ask the user; the console answers for him with the lines marked ;@ below.
; Each ENTMAKE hands the drawing one entity, as a list of groups (code value).
;
;@ answer GETPOINT (100 50 0)
;@ answer GETDIST 40
;@ expect value 6

(SETQ HOLES 6)
(SETQ HOLE-RADIUS 4.5)
(SETQ FULL-TURN 6.283185307179586)  ; angles are in radians

(DEFUN MAKE-HOLE (CENTRE)
  (ENTMAKE (LIST '(0 "CIRCLE")  ; type
                 '(8 "HOLES")   ; layer
                 (LIST 10 CENTRE)
                 (LIST 40 HOLE-RADIUS))))

(SETQ MIDDLE (GETPOINT "Centre of the bolt circle: "))
(SETQ RADIUS (GETDIST MIDDLE "Radius of the bolt circle: "))

(SETQ N 0)
(WHILE (< N HOLES)
  (MAKE-HOLE (POLAR MIDDLE (* N (/ FULL-TURN HOLES)) RADIUS))
  (SETQ N (1+ N)))

N  ; the last form's value is the program's
