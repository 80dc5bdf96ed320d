; A spiral: a polyline whose radius grows with the angle. COMMAND takes any number of points, but a
; call has as many arguments as it is written with, so each piece is a line of its own.
;
;@ answer GETPOINT (0 0 0)
;@ answer GETDIST 5
;@ expect value 108

(SETQ CENTRE (GETPOINT "Centre: "))
(SETQ PITCH (GETDIST "Distance between two turns: "))
(SETQ STEP (/ 3.141592653589793 18) TURNS 3)

(SETQ ANGLE 0 COUNT 0 FROM CENTRE)
(WHILE (< COUNT (* TURNS 36))
  (SETQ ANGLE (+ ANGLE STEP) COUNT (1+ COUNT))
  (SETQ TO (POLAR CENTRE ANGLE (* PITCH (/ ANGLE 6.283185307179586))))
  (COMMAND "LINE" FROM TO "")
  (SETQ FROM TO))

COUNT
