; A layer clean-up: whatever lies on layer TEMP moves to layer WALLS.
;
; SSGET answers with a selection set, or with nil when nothing matches its filter. SSLENGTH and
; SSNAME take it apart, ENTGET fetches an entity's groups, ENTMOD hands back changed ones.
;
;@ entity ((0 "LINE") (8 "WALLS") (10 (0 0 0)) (11 (60 0 0)))
;@ entity ((0 "LINE") (8 "TEMP") (10 (60 0 0)) (11 (60 40 0)))
;@ entity ((0 "LINE") (8 "TEMP") (10 (60 40 0)) (11 (0 40 0)))
;@ entity ((0 "TEXT") (8 "NOTES") (10 (5 5 0)) (40 2.5) (1 "Hall"))
;@ entity ((0 "LINE") (8 "TEMP") (10 (0 40 0)) (11 (0 0 0)))
;@ expect value 3

; The groups with the layer, group 8, replaced. There are no dotted pairs: a group is a list of two.
(DEFUN WITH-LAYER (GROUPS LAYER)
  (IF (EQUAL GROUPS '())
      '()
      (CONS (IF (= (CAR (CAR GROUPS)) 8) (LIST 8 LAYER) (CAR GROUPS))
            (WITH-LAYER (CDR GROUPS) LAYER))))

(SETQ FOUND (SSGET "X" '((8 "TEMP"))))
(SETQ N 0)
(IF FOUND
    (WHILE (< N (SSLENGTH FOUND))
      (ENTMOD (WITH-LAYER (ENTGET (SSNAME FOUND N)) "WALLS"))
      (SETQ N (1+ N))))

N
