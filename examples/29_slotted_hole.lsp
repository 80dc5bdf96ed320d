; A slotted hole: two arcs and two lines between two points.
;@ load lib/points.lsp
;@ answer GETPOINT (20 20 0)
;@ answer GETPOINT (80 45 0)
;@ expect value 65

(SETQ A (GETPOINT "First centre: ") B (GETPOINT A "Second centre: ") RADIUS 12)
(SETQ ALONG (ANGLE A B) LEFT (+ ALONG (/ PI 2)) RIGHT (- ALONG (/ PI 2)))
(COMMAND "ARC" "C" A (POLAR A LEFT RADIUS) (POLAR A RIGHT RADIUS))
(COMMAND "ARC" "C" B (POLAR B RIGHT RADIUS) (POLAR B LEFT RADIUS))
(MAKE-LINE "SLOT" (POLAR A LEFT RADIUS) (POLAR B LEFT RADIUS))
(MAKE-LINE "SLOT" (POLAR A RIGHT RADIUS) (POLAR B RIGHT RADIUS))
(DISTANCE A B)
