; One point in several coordinate systems.
;
; The console registers a context with five systems, which TRANS names by number: 0 is the world,
; 1 a plan turned left by 90 degrees with its origin at (100 50 0), 2 counts in inches. A line of
; 40 along the plan's own x axis therefore runs up along the world's y axis.
;
;@ expect value ((100 50 0) (100 90 0) (40 0 0) (50.8 101.6 25.4))

(SETQ START (TRANS '(0 0 0) 1 0))
(SETQ END (TRANS '(40 0) 1 0))  ; z is 0 where it is left out

(ENTMAKE (LIST '(0 "LINE") '(8 "PLAN") (LIST 10 START) (LIST 11 END)))

(LIST START
      END
      (TRANS END 0 1)        ; and back
      (TRANS '(2 4 1) 2 0))  ; inches in millimetres
