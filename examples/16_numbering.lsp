; Numbering: every hole of the plate gets a number, from left to right.
;
; There is no function that makes a text of a number, so the digits come from a list.
;
;@ drawing drawings/plate.json
;@ load lib/points.lsp
;@ expect value ("E3" "E6" "E2" "E5" "E4" "E7")

(SETQ DIGITS '("0" "1" "2" "3" "4" "5" "6" "7" "8" "9"))

(DEFUN CENTRE-X (HANDLE) (POINT-X (GROUP 10 (ENTGET HANDLE))))

; HANDLE put into the list before the first whose centre lies further right.
(DEFUN INSERT (HANDLE HANDLES / FRONT)
  (SETQ FRONT '())
  (WHILE (AND (> (LENGTH HANDLES) 0)
              (<= (CENTRE-X (CAR HANDLES)) (CENTRE-X HANDLE)))
    (SETQ FRONT (CONS (CAR HANDLES) FRONT))
    (SETQ HANDLES (CDR HANDLES)))
  (APPEND (REVERSE FRONT) (CONS HANDLE HANDLES)))

(SETQ HOLES (SSGET "X" '((0 "CIRCLE") (8 "HOLES"))) SORTED '() N 0)
(WHILE (< N (SSLENGTH HOLES))
  (SETQ SORTED (INSERT (SSNAME HOLES N) SORTED))
  (SETQ N (1+ N)))

(SETQ REST SORTED N 1)
(WHILE (> (LENGTH REST) 0)
  (SETQ DATA (ENTGET (CAR REST)))
  (MAKE-TEXT "NUMBERS"
             (OFFSET-POINT (GROUP 10 DATA) 0 (+ (GROUP 40 DATA) 1.5))
             4
             (NTH N DIGITS))
  (SETQ REST (CDR REST) N (1+ N)))

SORTED
