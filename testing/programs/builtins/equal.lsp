(LIST (EQ '(1 2) '(1 2)) (EQUAL '(1 2) '(1 2)) (EQ "a" "a") (EQ 'A 'a))
; => (T T T T)

(LIST (EQUAL 1 1.0) (EQUAL 0 -0.0) (EQUAL 0.1 0.10000000000000001))
; => (T T T)

;; Kinds never mix.
(LIST (EQUAL "A" 'A) (EQUAL NIL '()) (EQUAL 0 NIL) (EQUAL "T" T) (EQUAL "1" 1) (EQUAL '(1) 1))
; => (nil nil nil nil nil nil)

;; Strings keep their case.
(LIST (EQUAL "a" "A") (EQUAL "a" "a ") (EQUAL "" ""))
; => (nil nil T)

(LIST (EQUAL '(1 2) '(1 2 3)) (EQUAL '(1 (2 "x")) '(1 (2 "x"))) (EQUAL '(1 (2)) '(1 (3))))
; => (nil T nil)

(LIST (EQUAL NIL NIL) (EQUAL '() '()) (EQUAL T T) (EQUAL '(nil) '(())))
; => (T T T nil)

;; The way a list was made does not count.
(EQUAL (LIST 1 2 3) (CONS 1 (CONS 2 (CDR '(0 3)))))
; => T

;; There is no tolerance.
(EQUAL 0.3 (+ 0.1 0.2))
; => nil

(EQ 1)
; error: EQ expects two arguments

(EQ 1 2 3)
; error: EQ expects two arguments

(EQUAL)
; error: EQUAL expects two arguments

(equal 1 2 3)
; error: EQUAL expects two arguments
