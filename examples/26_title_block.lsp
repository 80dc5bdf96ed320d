; A title block in the lower right corner of a sheet, scaled with it.
;
;@ load lib/points.lsp
;@ answer GETPOINT (420 297 0)
;@ expect value 4

(SETQ SHEET (GETPOINT "Upper right corner of the sheet: "))
(SETQ WIDTH 180 ROW 14 MARGIN 10)
(SETQ LEFT (- (POINT-X SHEET) MARGIN WIDTH))

(DEFUN BOX (LOW HIGH)
  (COMMAND "PLINE" LOW (LIST (POINT-X HIGH) (POINT-Y LOW)) HIGH
           (LIST (POINT-X LOW) (POINT-Y HIGH)) "C"))

(COMMAND "LAYER" "M" "FRAME" "C" "black" "FRAME" "M" "TITLE" "C" "blue" "TITLE" "S" "FRAME" "")
(BOX '(0 0) SHEET)
(BOX (LIST MARGIN MARGIN) (OFFSET-POINT SHEET (- MARGIN) (- MARGIN)))

(DEFUN TITLE-ROW (N NAME WORDS / Y)
  (SETQ Y (+ MARGIN (* N ROW)))
  (COMMAND "LAYER" "S" "FRAME" "")
  (BOX (LIST LEFT Y) (LIST (+ LEFT WIDTH) (+ Y ROW)))
  (COMMAND "LINE" (LIST (+ LEFT 50) Y) (LIST (+ LEFT 50) (+ Y ROW)) "")
  (COMMAND "LAYER" "S" "TITLE" "")
  (COMMAND "TEXT" (LIST (+ LEFT 4) (+ Y 4)) 5 0 NAME)
  (COMMAND "TEXT" (LIST (+ LEFT 54) (+ Y 4)) 6 0 WORDS))

(SETQ ROWS '(("Sheet" "3 of 12") ("Scale" "1 : 50") ("Part" "Base plate") ("Drawn" "M. Weber")))
(SETQ N 0)
(WHILE (< N (LENGTH ROWS))
  (TITLE-ROW N (CAR (NTH N ROWS)) (CADR (NTH N ROWS)))
  (SETQ N (1+ N)))

N
