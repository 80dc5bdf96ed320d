; A flight of stairs in section: the number of risers follows from the height.
;
;@ load lib/points.lsp
;@ answer GETPOINT (0 0 0)
;@ answer GETDIST 2720
;@ expect value (16 170 290)

(SETQ FOOT (GETPOINT "Foot of the stairs: "))
(SETQ HEIGHT (GETDIST "Height from floor to floor: "))

; The smallest count whose risers are at most 175 high.
(SETQ COUNT 1)
(WHILE (> (/ HEIGHT COUNT) 175) (SETQ COUNT (1+ COUNT)))
(SETQ RISER (/ HEIGHT COUNT))
(SETQ TREAD (- 630 (* 2 RISER)))  ; a comfortable stride

(COMMAND "LAYER" "M" "STEPS" "C" "black" "STEPS" "")
(SETQ AT FOOT N 0)
(WHILE (< N COUNT)
  (COMMAND "LINE" AT (OFFSET-POINT AT 0 RISER) (OFFSET-POINT AT TREAD RISER) "")
  (SETQ AT (OFFSET-POINT AT TREAD RISER) N (1+ N)))

; A handrail, 900 above the edges, with a post at each end.
(SETQ LOW (OFFSET-POINT FOOT 0 RISER))
(SETQ HIGH (OFFSET-POINT LOW (* (1- COUNT) TREAD) (* (1- COUNT) RISER)))
(MAKE-LINE "RAIL" (OFFSET-POINT LOW 0 900) (OFFSET-POINT HIGH 0 900))
(MAKE-LINE "RAIL" LOW (OFFSET-POINT LOW 0 900))
(MAKE-LINE "RAIL" HIGH (OFFSET-POINT HIGH 0 900))

(LIST COUNT RISER TREAD)
