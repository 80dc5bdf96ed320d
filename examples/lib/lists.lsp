; Functions over numbers and lists that the dialect leaves to its programs.
;
; Load it with --load examples/lib/lists.lsp, or from a program with ;@ load lib/lists.lsp.
; Lists count from 0. A function that finds nothing answers nil.

(DEFUN ABS (X) (IF (< X 0) (- X) X))

(DEFUN MIN (A B) (IF (< B A) B A))

(DEFUN MAX (A B) (IF (> B A) B A))

; The element of a list with this number; nil outside.
(DEFUN NTH (N ITEMS)
  (WHILE (> N 0)
    (SETQ ITEMS (CDR ITEMS))
    (SETQ N (1- N)))
  (IF (= N 0) (CAR ITEMS)))

(DEFUN REVERSE (ITEMS / RESULT)
  (SETQ RESULT '())
  (WHILE (> (LENGTH ITEMS) 0)
    (SETQ RESULT (CONS (CAR ITEMS) RESULT))
    (SETQ ITEMS (CDR ITEMS)))
  RESULT)

; The elements of both lists, those of the first in front.
(DEFUN APPEND (FRONT BACK)
  (SETQ FRONT (REVERSE FRONT))
  (WHILE (> (LENGTH FRONT) 0)
    (SETQ BACK (CONS (CAR FRONT) BACK))
    (SETQ FRONT (CDR FRONT)))
  BACK)

; What follows in the list from the first element equal to ITEM, itself included.
(DEFUN MEMBER (ITEM ITEMS)
  (WHILE (AND (> (LENGTH ITEMS) 0) (NOT (EQUAL ITEM (CAR ITEMS))))
    (SETQ ITEMS (CDR ITEMS)))
  (IF (> (LENGTH ITEMS) 0) ITEMS))

; The first element that is a list with KEY in front: (ASSOC 8 GROUPS) is the group of the layer.
(DEFUN ASSOC (KEY GROUPS)
  (WHILE (AND (> (LENGTH GROUPS) 0) (NOT (EQUAL KEY (CAR (CAR GROUPS)))))
    (SETQ GROUPS (CDR GROUPS)))
  (IF (> (LENGTH GROUPS) 0) (CAR GROUPS)))

(DEFUN CADR (ITEMS) (CAR (CDR ITEMS)))

(DEFUN CADDR (ITEMS) (CAR (CDR (CDR ITEMS))))

; The value of a group: (GROUP 8 GROUPS) is the name of the layer, nil without one.
(DEFUN GROUP (KEY GROUPS) (CADR (ASSOC KEY GROUPS)))

; The groups with the value of one replaced, or added at the end.
(DEFUN WITH-GROUP (KEY VALUE GROUPS / FRONT)
  (SETQ FRONT '())
  (WHILE (AND (> (LENGTH GROUPS) 0) (NOT (EQUAL KEY (CAR (CAR GROUPS)))))
    (SETQ FRONT (CONS (CAR GROUPS) FRONT))
    (SETQ GROUPS (CDR GROUPS)))
  (APPEND (REVERSE FRONT) (CONS (LIST KEY VALUE) (CDR GROUPS))))
