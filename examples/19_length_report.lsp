; A report: how long all lines of each layer are together, written beside the drawing.
;
; The value is a list of layers and lengths; the drawing gets a table of bars, one for each layer,
; as long as a tenth of its lines.
;
;@ drawing drawings/pipes.json
;@ load lib/points.lsp
;@ expect value (("COLD" 250) ("HOT" 170) ("DRAIN" 130))

; REPORT with LENGTH added to what it holds for LAYER.
(DEFUN ADD-LENGTH (REPORT LAYER LENGTH / KNOWN)
  (SETQ KNOWN (ASSOC LAYER REPORT))
  (WITH-GROUP LAYER (IF KNOWN (+ (CADR KNOWN) LENGTH) LENGTH) REPORT))

(SETQ LINES (SSGET "X" '((0 "LINE"))) REPORT '() N 0)
(WHILE (< N (SSLENGTH LINES))
  (SETQ DATA (ENTGET (SSNAME LINES N)))
  (SETQ REPORT (ADD-LENGTH REPORT (GROUP 8 DATA) (DISTANCE (GROUP 10 DATA) (GROUP 11 DATA))))
  (SETQ N (1+ N)))

(SETQ ROWS REPORT Y -20)
(WHILE (> (LENGTH ROWS) 0)
  (COMMAND "TEXT" "J" "R" (LIST 38 Y) 6 0 (CAR (CAR ROWS)))
  (MAKE-LINE (CAR (CAR ROWS))
             (LIST 42 (+ Y 3) 0)
             (LIST (+ 42 (/ (CADR (CAR ROWS)) 2.5)) (+ Y 3) 0))
  (SETQ ROWS (CDR ROWS) Y (- Y 12)))

REPORT
