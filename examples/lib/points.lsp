; Points as vectors, and what drawings need of them. Loads lists.lsp.
;
;@ load lists.lsp

(SETQ PI 3.141592653589793)

(DEFUN POINT-X (P) (CAR P))

(DEFUN POINT-Y (P) (CADR P))

(DEFUN POINT-Z (P) (IF (> (LENGTH P) 2) (CADDR P) 0))

(DEFUN ADD-POINTS (P Q)
  (LIST (+ (POINT-X P) (POINT-X Q))
        (+ (POINT-Y P) (POINT-Y Q))
        (+ (POINT-Z P) (POINT-Z Q))))

(DEFUN SUBTRACT-POINTS (P Q)
  (LIST (- (POINT-X P) (POINT-X Q))
        (- (POINT-Y P) (POINT-Y Q))
        (- (POINT-Z P) (POINT-Z Q))))

(DEFUN SCALE-POINT (P FACTOR)
  (LIST (* (POINT-X P) FACTOR) (* (POINT-Y P) FACTOR) (* (POINT-Z P) FACTOR)))

; The point PART of the way from P to Q: 0 is P, 0.5 the middle, 1 is Q.
(DEFUN BETWEEN (P Q PART)
  (ADD-POINTS P (SCALE-POINT (SUBTRACT-POINTS Q P) PART)))

; The point DX and DY away from P.
(DEFUN OFFSET-POINT (P DX DY) (ADD-POINTS P (LIST DX DY 0)))

; Degrees as radians.
(DEFUN DEGREES (ANGLE) (/ (* ANGLE PI) 180))

; Twice the signed area between a polygon's corners, given as a list.
(DEFUN TWICE-AREA (CORNERS / FIRST SUM)
  (SETQ FIRST (CAR CORNERS) SUM 0)
  (WHILE (> (LENGTH CORNERS) 1)
    (SETQ SUM (+ SUM (CROSS (CAR CORNERS) (CADR CORNERS))))
    (SETQ CORNERS (CDR CORNERS)))
  (+ SUM (CROSS (CAR CORNERS) FIRST)))

(DEFUN CROSS (P Q)
  (- (* (POINT-X P) (POINT-Y Q)) (* (POINT-Y P) (POINT-X Q))))

; Short ways to make entities on a layer; each answers as ENTMAKE does.
(DEFUN MAKE-LINE (LAYER P Q)
  (ENTMAKE (LIST '(0 "LINE") (LIST 8 LAYER) (LIST 10 P) (LIST 11 Q))))

(DEFUN MAKE-CIRCLE (LAYER P RADIUS)
  (ENTMAKE (LIST '(0 "CIRCLE") (LIST 8 LAYER) (LIST 10 P) (LIST 40 RADIUS))))

(DEFUN MAKE-TEXT (LAYER P HEIGHT WORDS)
  (ENTMAKE (LIST '(0 "TEXT") (LIST 8 LAYER) (LIST 10 P) (LIST 40 HEIGHT) (LIST 1 WORDS) '(72 1))))
