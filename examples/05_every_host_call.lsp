; A frame with a marked centre: every call that needs the host, once at least.
;
; Nobody picks anything here. Without a line that scripts an answer the console picks by rule: the
; first GETPOINT is (0 0 0), a GETCORNER lies (100 50 0) from its base point, a GETDIST is 10.
;
;@ expect value (4 (50 25 0) 5 (50 25 0) 1)

(SETQ FIRST (GETPOINT "First corner of the frame: "))
(SETQ THIRD (GETCORNER FIRST "Opposite corner: "))
(SETQ SECOND (LIST (CAR THIRD) (CAR (CDR FIRST)) 0))
(SETQ FOURTH (LIST (CAR FIRST) (CAR (CDR THIRD)) 0))

(COMMAND "LAYER" "M" "FRAME" "")  ; the layer of what follows
(COMMAND "LINE" FIRST SECOND THIRD FOURTH FIRST "")
(SETQ SIDES (SSGET "X" '((0 "LINE") (8 "FRAME"))))

(SETQ MIDDLE (LIST (/ (+ (CAR FIRST) (CAR THIRD)) 2)
                   (/ (+ (CAR (CDR FIRST)) (CAR (CDR THIRD))) 2)
                   0))
(SETQ MARK (ENTMAKEX (LIST '(0 "CIRCLE")  ; its answer is the new entity's handle
                           (LIST 10 MIDDLE)
                           (LIST 40 (GETDIST MIDDLE "Size of the mark: ")))))
(ENTMOD (LIST (LIST -1 MARK) '(0 "CIRCLE") '(8 "MARKS") (LIST 10 MIDDLE) '(40 2)))
(SETQ GROUPS (ENTGET MARK))              ; handle, type, layer, centre, radius
(SETQ SNAPPED (OSNAP '(47 24 0) "cen"))  ; the centre next to a point
(ENTMAKE (LIST '(0 "POINT") '(8 "MARKS") (LIST 10 SNAPPED)))
(COMMAND-S "ERASE" MARK)

(LIST (SSLENGTH SIDES)
      MIDDLE
      (LENGTH GROUPS)
      SNAPPED
      (SSLENGTH (SSGET '((8 "MARKS")))))
