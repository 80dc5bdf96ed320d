; Hatch lines: a rectangle filled with parallel lines at 45 degrees.
;
;@ load lib/points.lsp
;@ answer GETPOINT (0 0 0)
;@ answer GETCORNER (90 50 0)
;@ answer GETDIST 6
;@ expect value 16

(SETQ LOW (GETPOINT "First corner: "))
(SETQ HIGH (GETCORNER LOW "Opposite corner: "))
(SETQ STEP (GETDIST "Distance between the lines: "))

(SETQ WIDTH (- (POINT-X HIGH) (POINT-X LOW)))
(SETQ HEIGHT (- (POINT-Y HIGH) (POINT-Y LOW)))

(COMMAND "LAYER" "M" "OUTLINE" "C" "black" "OUTLINE" "")
(COMMAND "PLINE" LOW (OFFSET-POINT LOW WIDTH 0) HIGH (OFFSET-POINT LOW 0 HEIGHT) "C")
(COMMAND "LAYER" "M" "HATCH" "C" "blue" "HATCH" "")

; A line at 45 degrees has x - y = C; C runs from -HEIGHT to WIDTH.
(SETQ ALONG (* STEP 1.4142135623730951))
(SETQ C (- ALONG HEIGHT) COUNT 0)
(WHILE (< C WIDTH)
  (COMMAND "LINE"
           (OFFSET-POINT LOW (MAX C 0) (- (MAX C 0) C))
           (OFFSET-POINT LOW (MIN WIDTH (+ C HEIGHT)) (- (MIN WIDTH (+ C HEIGHT)) C))
           "")
  (SETQ C (+ C ALONG) COUNT (1+ COUNT)))

COUNT
