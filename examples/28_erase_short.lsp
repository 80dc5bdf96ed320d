; A clean-up: lines shorter than a millimetre are erased, doubles too.
;
;@ drawing drawings/untidy.json
;@ load lib/points.lsp
;@ expect value ("E3" "E5" "E7")

(SETQ SHORTEST 1)

(DEFUN SAME-LINE (A B)
  (OR (AND (EQUAL (GROUP 10 A) (GROUP 10 B)) (EQUAL (GROUP 11 A) (GROUP 11 B)))
      (AND (EQUAL (GROUP 10 A) (GROUP 11 B)) (EQUAL (GROUP 11 A) (GROUP 10 B)))))

; Whether one of the lines in SEEN is the same as LINE.
(DEFUN SEEN-BEFORE (LINE SEEN)
  (WHILE (AND (> (LENGTH SEEN) 0) (NOT (SAME-LINE LINE (CAR SEEN))))
    (SETQ SEEN (CDR SEEN)))
  (> (LENGTH SEEN) 0))

(SETQ LINES (SSGET "X" '((0 "LINE"))) SEEN '() ERASED '() N 0)
(WHILE (< N (SSLENGTH LINES))
  (SETQ DATA (ENTGET (SSNAME LINES N)))
  (IF (OR (< (DISTANCE (GROUP 10 DATA) (GROUP 11 DATA)) SHORTEST)
          (SEEN-BEFORE DATA SEEN))
      (PROGN
        (COMMAND "ERASE" (SSNAME LINES N) "")
        (SETQ ERASED (CONS (SSNAME LINES N) ERASED)))
      (SETQ SEEN (CONS DATA SEEN)))
  (SETQ N (1+ N)))

(REVERSE ERASED)
