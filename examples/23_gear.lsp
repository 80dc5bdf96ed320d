; A gear with straight flanks: teeth around a circle, a bore with a key way, and a pitch circle.
;
;@ load lib/points.lsp
;@ answer GETPOINT (60 60 0)
;@ answer GETDIST 40
;@ expect value 18

(SETQ CENTRE (GETPOINT "Centre: "))
(SETQ RADIUS (GETDIST CENTRE "Radius of the pitch circle: "))
(SETQ TEETH 18 MODULE (/ (* 2 RADIUS) TEETH))
(SETQ TIP (+ RADIUS MODULE) ROOT (- RADIUS (* 1.25 MODULE)) PITCH (/ (* 2 PI) TEETH))

(DEFUN AT (ANGLE REACH) (POLAR CENTRE ANGLE REACH))

(COMMAND "LAYER" "M" "GEAR" "C" "black" "GEAR" "")
(SETQ N 0)
(WHILE (< N TEETH)
  (SETQ START (* N PITCH))
  (COMMAND "LINE"
           (AT (- START (* 0.25 PITCH)) ROOT)
           (AT (- START (* 0.12 PITCH)) TIP)
           (AT (+ START (* 0.12 PITCH)) TIP)
           (AT (+ START (* 0.25 PITCH)) ROOT)
           (AT (+ START (* 0.75 PITCH)) ROOT)
           "")
  (SETQ N (1+ N)))

(MAKE-CIRCLE "PITCH" CENTRE RADIUS)
(SETQ BORE (* 0.3 RADIUS) HALF (* 0.08 RADIUS))
(COMMAND "ARC" "C" CENTRE
         (POLAR CENTRE (+ (/ PI 2) 0.27) BORE)
         (POLAR CENTRE (- (/ PI 2) 0.27) BORE))
(COMMAND "LINE"
         (POLAR CENTRE (+ (/ PI 2) 0.27) BORE)
         (OFFSET-POINT CENTRE (- HALF) (+ BORE HALF))
         (OFFSET-POINT CENTRE HALF (+ BORE HALF))
         (POLAR CENTRE (- (/ PI 2) 0.27) BORE)
         "")

TEETH
