; A parts list: the holes of a plate are sorted by size, numbered, and counted in a table.
;
; Every size gets a position number. Beside each hole stands a balloon with the number of its size,
; and in the lower right corner of the sheet a table tells for each position how many holes there
; are and how wide they are.
;
;@ drawing drawings/drilled.json
;@ load lib/sheets.lsp
;@ expect value ((6 6) (9 2) (14 3))

; --- Collecting: a list of (DIAMETER HANDLE HANDLE ...), the smallest first ----------------------

; HANDLE added to the size that it has, or a new size for it, in its place.
(DEFUN ADD-HOLE (SIZES DIAMETER HANDLE / FRONT)
  (SETQ FRONT '())
  (WHILE (AND (> (LENGTH SIZES) 0) (< (CAR (CAR SIZES)) DIAMETER))
    (SETQ FRONT (CONS (CAR SIZES) FRONT) SIZES (CDR SIZES)))
  (IF (AND (> (LENGTH SIZES) 0) (= (CAR (CAR SIZES)) DIAMETER))
      (SETQ SIZES (CONS (APPEND (CAR SIZES) (LIST HANDLE)) (CDR SIZES)))
      (SETQ SIZES (CONS (LIST DIAMETER HANDLE) SIZES)))
  (APPEND (REVERSE FRONT) SIZES))

(DEFUN COLLECT-HOLES (SET / SIZES N HANDLE)
  (SETQ SIZES '() N 0)
  (WHILE (< N (SSLENGTH SET))
    (SETQ HANDLE (SSNAME SET N))
    (SETQ SIZES (ADD-HOLE SIZES (* 2 (GROUP 40 (ENTGET HANDLE))) HANDLE))
    (SETQ N (1+ N)))
  SIZES)

; --- Balloons --------------------------------------------------------------------------------------

; A circle with a number, and a line to the rim of the hole.
(DEFUN MAKE-BALLOON (HANDLE NUMBER / DATA CENTRE RADIUS DIRECTION AT)
  (SETQ DATA (ENTGET HANDLE))
  (SETQ CENTRE (GROUP 10 DATA) RADIUS (GROUP 40 DATA))
  (SETQ DIRECTION (DEGREES (IF (> (POINT-Y CENTRE) 40) 60 -60)))
  (SETQ AT (POLAR CENTRE DIRECTION (+ RADIUS 12)))
  (MAKE-LINE "BALLOONS" (POLAR CENTRE DIRECTION RADIUS) (POLAR CENTRE DIRECTION (+ RADIUS 8)))
  (MAKE-CIRCLE "BALLOONS" AT 4)
  (MAKE-NUMBER "BALLOONS" (OFFSET-POINT AT 0 -2) 4 NUMBER))

(DEFUN MAKE-BALLOONS (SIZES / NUMBER HANDLES)
  (SETQ NUMBER 1)
  (WHILE (> (LENGTH SIZES) 0)
    (SETQ HANDLES (CDR (CAR SIZES)))
    (WHILE (> (LENGTH HANDLES) 0)
      (MAKE-BALLOON (CAR HANDLES) NUMBER)
      (SETQ HANDLES (CDR HANDLES)))
    (SETQ SIZES (CDR SIZES) NUMBER (1+ NUMBER))))

; --- The table -------------------------------------------------------------------------------------

(SETQ WIDTHS '(24 30 40) ROW-HEIGHT 9)

; One row of cells, with its lower left corner at LOW; each content is a text or a number.
(DEFUN MAKE-ROW (LOW CONTENTS / COLUMNS MIDDLE)
  (SETQ COLUMNS WIDTHS)
  (WHILE (> (LENGTH COLUMNS) 0)
    (MAKE-BOX "TABLE" LOW (CAR COLUMNS) ROW-HEIGHT)
    (SETQ MIDDLE (OFFSET-POINT LOW (/ (CAR COLUMNS) 2) 2.5))
    (IF (IS-TEXT (CAR CONTENTS))
        (MAKE-TEXT "TABLE" MIDDLE 4 (CAR CONTENTS))
        (MAKE-NUMBER "TABLE" MIDDLE 4 (CAR CONTENTS)))
    (SETQ LOW (OFFSET-POINT LOW (CAR COLUMNS) 0)
          COLUMNS (CDR COLUMNS)
          CONTENTS (CDR CONTENTS))))

; Whether a content is one of the headings: there is no function that tells kinds apart.
(SETQ HEADINGS '("Pos." "Holes" "Diameter" "All" ""))
(DEFUN IS-TEXT (CONTENT) (MEMBER CONTENT HEADINGS))

; The heading below, a row for each size above it, and all of them on top. Gives the counts.
(DEFUN MAKE-TABLE (LOW SIZES / NUMBER COUNTS COUNT SUM)
  (MAKE-ROW LOW HEADINGS)
  (SETQ NUMBER 1 COUNTS '() SUM 0)
  (WHILE (> (LENGTH SIZES) 0)
    (SETQ COUNT (LENGTH (CDR (CAR SIZES))))
    (SETQ LOW (OFFSET-POINT LOW 0 ROW-HEIGHT))
    (MAKE-ROW LOW (LIST NUMBER COUNT (CAR (CAR SIZES))))
    (SETQ COUNTS (CONS (LIST (CAR (CAR SIZES)) COUNT) COUNTS))
    (SETQ SIZES (CDR SIZES) NUMBER (1+ NUMBER) SUM (+ SUM COUNT)))
  (MAKE-ROW (OFFSET-POINT LOW 0 ROW-HEIGHT) (LIST "All" SUM ""))
  (REVERSE COUNTS))

; --- The sheet ---------------------------------------------------------------------------------------

(COMMAND "LAYER" "M" "BALLOONS" "C" "red" "BALLOONS" "M" "TABLE" "C" "blue" "TABLE"
         "M" "FRAME" "C" "black" "FRAME" "")
(SETQ HOLES (SSGET "X" '((0 "CIRCLE") (8 "HOLES"))))
(SETQ SIZES (COLLECT-HOLES HOLES))
(MAKE-BALLOONS SIZES)
(MAKE-BOX "FRAME" '(-20 -80) 230 200)
(SETQ COUNTS (MAKE-TABLE '(116 -80) SIZES))

; The counts are true when all of them make the whole selection.
(SETQ SUM 0 ROWS COUNTS)
(WHILE (> (LENGTH ROWS) 0)
  (SETQ SUM (+ SUM (CADR (CAR ROWS))) ROWS (CDR ROWS)))
(IF (= SUM (SSLENGTH HOLES)) COUNTS (LIST "lost" (- (SSLENGTH HOLES) SUM)))
