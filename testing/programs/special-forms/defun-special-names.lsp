;; A special form cannot be replaced; the record is made and never reached.
(DEFUN IF (A B) 7)
; => IF

(IF NIL 1)
; => nil

(DEFUN SETQ () 1) (DEFUN PROGN () 1) (DEFUN WHILE () 1) (DEFUN AND () 1) (DEFUN OR () 1)
(DEFUN NOT () 1) (DEFUN NULL () 1) (DEFUN QUOTE () 1) (DEFUN DEFUN () 1)
(LIST (SETQ A 2) (PROGN 3) (WHILE NIL) (AND 4) (OR 5) (NOT 6) (NULL NIL) (QUOTE B))
; => (2 3 nil 4 5 nil T B)

(DEFUN LAST () 8) (LAST)
; => 8
