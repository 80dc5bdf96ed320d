; What lies in a window goes to a layer of its own, in another colour.
;@ drawing drawings/plate.json
;@ answer GETPOINT (50 5 0)
;@ answer GETCORNER (118 55 0)
;@ expect value 4

(SETQ A (GETPOINT "First corner: "))
(SETQ FOUND (SSGET "W" A (GETCORNER A "Opposite corner: ") '((0 "CIRCLE"))))
(COMMAND "LAYER" "N" "DRILL" "C" "magenta" "DRILL" "")

(DEFUN ON-LAYER (GROUPS LAYER)
  (IF (EQUAL GROUPS '())
      '()
      (CONS (IF (= (CAR (CAR GROUPS)) 8) (LIST 8 LAYER) (CAR GROUPS))
            (ON-LAYER (CDR GROUPS) LAYER))))

(SETQ N 0)
(WHILE (< N (SSLENGTH FOUND))
  (ENTMOD (ON-LAYER (ENTGET (SSNAME FOUND N)) "DRILL"))
  (SETQ N (1+ N)))
N
