; A polar array: what was drawn once is copied around a centre, turned each time.
;
;@ drawing drawings/blade.json
;@ answer GETPOINT (0 0 0)
;@ expect value 17

(SETQ CENTRE (GETPOINT "Centre of the array: ") COUNT 8)
(SETQ BLADE (SSGET "X" '((8 "BLADE"))))

(SETQ N 1)
(WHILE (< N COUNT)
  (COMMAND "COPY" BLADE "" CENTRE CENTRE "")
  (SETQ COPY (SSGET "W" '(-100 -100) '(100 100) '((8 "BLADE"))))
  ; The copies are the last entities of the drawing.
  (COMMAND "ROTATE"
           (SSNAME COPY (- (SSLENGTH COPY) 2))
           (SSNAME COPY (- (SSLENGTH COPY) 1))
           ""
           CENTRE
           (/ (* 360 N) COUNT))
  (SETQ N (1+ N)))

(SSLENGTH (SSGET "X"))
