; Two gears that mesh: flanks that are true involutes, drawn from nothing but POLAR and ANGLE.
;
; An involute is the way of the end of a thread that is wound off a circle. Where the thread has been
; wound off by an angle T, its end lies T times the radius away from the point at which it leaves the
; circle, at a right angle to the radius there. There is no square root and no sine in the language;
; where the flank meets a circle is found by halving instead.
;
;@ load lib/sheets.lsp
;@ answer GETPOINT (70 70 0)
;@ answer GETDIST 6
;@ expect value (12 20 96)

; --- One gear -------------------------------------------------------------------------------------

; The point of the involute of a circle of radius 1 around (0 0), wound off by T.
(DEFUN INVOLUTE (T-ANGLE)
  (POLAR (POLAR '(0 0 0) T-ANGLE 1) (- T-ANGLE (/ PI 2)) T-ANGLE))

; How far the thread is wound off where the involute is REACH away from the centre.
(DEFUN WOUND-OFF (REACH / LOW HIGH MIDDLE)
  (SETQ LOW 0 HIGH 2)
  (WHILE (> (- HIGH LOW) 0.00001)
    (SETQ MIDDLE (/ (+ LOW HIGH) 2))
    (IF (< (DISTANCE '(0 0) (INVOLUTE MIDDLE)) REACH)
        (SETQ LOW MIDDLE)
        (SETQ HIGH MIDDLE)))
  LOW)

; Points of a flank as pairs of a reach and an angle, from the base circle to the tip. The angles
; are counted from where the flank crosses the pitch circle.
(DEFUN FLANK (BASE PITCH TIP COUNT / LAST N P START RESULT)
  (SETQ LAST (WOUND-OFF (/ TIP BASE)))
  (SETQ START (ANGLE '(0 0) (INVOLUTE (WOUND-OFF (/ PITCH BASE)))))
  (SETQ N 0 RESULT '())
  (WHILE (<= N COUNT)
    (SETQ P (INVOLUTE (* LAST (/ N COUNT))))
    (SETQ RESULT (CONS (LIST (* BASE (DISTANCE '(0 0) P)) (- (ANGLE '(0 0) P) START)) RESULT))
    (SETQ N (1+ N)))
  (REVERSE RESULT))

; The points of FLANK around CENTRE at ANGLE, turned left (SIDE 1) or right (SIDE -1), in front of
; POINTS.
(DEFUN ADD-FLANK (POINTS FLANK CENTRE DIRECTION SIDE)
  (WHILE (> (LENGTH FLANK) 0)
    (SETQ POINTS (CONS (POLAR CENTRE (+ DIRECTION (* SIDE (CADR (CAR FLANK)))) (CAR (CAR FLANK)))
                       POINTS))
    (SETQ FLANK (CDR FLANK)))
  POINTS)

; A gear as one closed polyline; START is the direction of the middle of a tooth.
(DEFUN MAKE-GEAR (LAYER CENTRE TEETH MODULE START / PITCH BASE ROOT FLANK STEP N MIDDLE POINTS)
  (SETQ PITCH (* 0.5 TEETH MODULE) STEP (/ (* 2 PI) TEETH))
  (SETQ BASE (* PITCH (POINT-X (POLAR '(0 0 0) (DEGREES 20) 1))))
  (SETQ ROOT (- PITCH (* 1.25 MODULE)))
  (SETQ FLANK (FLANK BASE PITCH (+ PITCH MODULE) 5))
  (SETQ POINTS '() N 0)
  (WHILE (< N TEETH)
    (SETQ MIDDLE (+ START (* N STEP)))
    (SETQ POINTS (CONS (POLAR CENTRE (- MIDDLE (* 0.32 STEP)) ROOT) POINTS))
    (SETQ POINTS (ADD-FLANK POINTS FLANK CENTRE (- MIDDLE (* 0.25 STEP)) 1))
    (SETQ POINTS (ADD-FLANK POINTS (REVERSE FLANK) CENTRE (+ MIDDLE (* 0.25 STEP)) -1))
    (SETQ POINTS (CONS (POLAR CENTRE (+ MIDDLE (* 0.32 STEP)) ROOT) POINTS))
    (SETQ N (1+ N)))
  (MAKE-OUTLINE LAYER POINTS)
  (MAKE-CIRCLE "PITCH" CENTRE PITCH)
  (MAKE-CROSS "AXES" CENTRE (+ PITCH MODULE)))

; The shaft with its key.
(DEFUN MAKE-SHAFT (CENTRE RADIUS / HALF)
  (SETQ HALF (* 0.3 RADIUS))
  (MAKE-CIRCLE "GEARS" CENTRE RADIUS)
  (MAKE-BOX "GEARS" (OFFSET-POINT CENTRE (- HALF) (* 0.8 RADIUS)) (* 2 HALF) (* 0.5 RADIUS)))

; Holes that make the gear lighter, half way between the shaft and the teeth.
(DEFUN MAKE-HOLES (CENTRE COUNT REACH RADIUS / N)
  (SETQ N 0)
  (WHILE (< N COUNT)
    (MAKE-CIRCLE "GEARS" (POLAR CENTRE (* N (/ (* 2 PI) COUNT)) REACH) RADIUS)
    (SETQ N (1+ N))))

; --- The pair -------------------------------------------------------------------------------------

(SETQ CENTRE (GETPOINT "Centre of the small gear: "))
(SETQ MODULE (GETDIST "Module: "))
(SETQ SMALL 12 LARGE 20 REACH (* 0.5 MODULE (+ SMALL LARGE)))
(SETQ OTHER (OFFSET-POINT CENTRE REACH 0))

(COMMAND "LAYER" "M" "GEARS" "C" "black" "GEARS" "M" "PITCH" "C" "cyan" "PITCH"
         "M" "AXES" "C" "red" "AXES" "M" "DIMENSIONS" "C" "blue" "DIMENSIONS" "")

; A tooth of the one points at the other, whose gap points back.
(MAKE-GEAR "GEARS" CENTRE SMALL MODULE 0)
(MAKE-GEAR "GEARS" OTHER LARGE MODULE (+ PI (/ PI LARGE)))
(MAKE-SHAFT CENTRE 9)
(MAKE-SHAFT OTHER 14)
(MAKE-HOLES OTHER 5 33 9)

; How far the axes are apart, below both gears.
(SETQ BELOW (- (* 0.5 MODULE (+ LARGE 4))))
(MAKE-DIMENSION "DIMENSIONS" (OFFSET-POINT OTHER 0 BELOW) (OFFSET-POINT CENTRE 0 BELOW) 6)

(LIST SMALL LARGE (DISTANCE CENTRE OTHER))
