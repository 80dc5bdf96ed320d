; Functions that call themselves.
;
; A call costs two levels of depth, one for itself and one for the IF in its body, and each form
; around the inner call costs another; 128 levels is the limit. The names after the slash are local
; variables. What a function assigns to them is gone when it ends.
;
;@ expect value (3628800 55 6 (4 3 2 1))

(DEFUN FACTORIAL (N)
  (IF (<= N 1) 1 (* N (FACTORIAL (1- N)))))

(DEFUN FIBONACCI (N)
  (IF (< N 2) N (+ (FIBONACCI (- N 1)) (FIBONACCI (- N 2)))))

(DEFUN GREATEST-COMMON-DIVISOR (A B)
  (IF (= A B)
      A
      (IF (> A B)
          (GREATEST-COMMON-DIVISOR (- A B) B)
          (GREATEST-COMMON-DIVISOR A (- B A)))))

(DEFUN REVERSED (ITEMS / RESULT)
  (SETQ RESULT '())
  (WHILE (> (LENGTH ITEMS) 0)
    (SETQ RESULT (CONS (CAR ITEMS) RESULT))
    (SETQ ITEMS (CDR ITEMS)))
  RESULT)

; A branch, and two smaller ones at its end.
(DEFUN TREE (FOOT DIRECTION SIZE COUNT / END)
  (SETQ END (POLAR FOOT DIRECTION SIZE))
  (ENTMAKE (LIST '(0 "LINE") '(8 "TREE") (LIST 10 FOOT) (LIST 11 END)))
  (IF (> COUNT 1)
      (PROGN (TREE END (+ DIRECTION 0.4) (* 0.8 SIZE) (1- COUNT))
             (TREE END (- DIRECTION 0.6) (* 0.7 SIZE) (1- COUNT)))))

(TREE '(0 0 0) 1.6 40 6)

(LIST (FACTORIAL 10)
      (FIBONACCI 10)
      (GREATEST-COMMON-DIVISOR 48 18)
      (REVERSED '(1 2 3 4)))
