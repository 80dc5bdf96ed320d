;; System 1 lies at (10, 20, 5), twice and four times as large; system 2 is singular.
; context: 7
; system 1: 10 20 2 0 0 4 1 5
; system 2: 0 0 0 0 0 0 1 0
(TRANS '(1 2 3) 1 0)
; => (12 28 8)

(TRANS '(12 28 8) 0 1)
; => (1 2 3)

;; Always three numbers.
(TRANS '(1 2) 0 1)
; => (-4.5 -4.5 -5)

(TRANS '(1 2) 0 0)
; => (1 2 0)

;; A fourth argument is of no account.
(TRANS '(1 2) 0 0 "anything")
; => (1 2 0)

;; Codes are cut off toward zero.
(LIST (TRANS '(1 2 3) 1.9 0) (TRANS '(1 2 3) -0.5 0.99) (TRANS '(1 2 3) 4.999 0))
; => ((12 28 8) (1 2 3) (1 2 3))

(TRANS '(1 2) 5 0)
; error: trans coordinate arguments invalid

(TRANS '(1 2) 0 -1)
; error: trans coordinate arguments invalid

;; Nothing wraps around.
(TRANS '(1 2) 4294967296 0)
; error: trans coordinate arguments invalid

(TRANS '(1 2) 0 1e300)
; error: trans coordinate arguments invalid

(TRANS '(1 2) (- (* 1e200 1e200) (* 1e200 1e200)) 0)
; error: trans coordinate arguments invalid

(TRANS '(1 2) (* 1e200 1e200) 0)
; error: trans coordinate arguments invalid

(TRANS '(1) 0 0)
; error: trans coordinate arguments invalid

(TRANS '(1 2) "0" 0)
; error: trans coordinate arguments invalid

(TRANS '(1 2) 0 NIL)
; error: trans coordinate arguments invalid

(TRANS '(1 2) 0)
; error: trans requires point, source, target and registered context

(TRANS '(1 2) 0 0 0 0)
; error: trans requires point, source, target and registered context

;; A singular system can be left but not entered.
(TRANS '(1 2 3) 2 0)
; => (0 0 3)

(TRANS '(1 2 3) 0 2)
; error: trans transform is singular

(TRANS (LIST 1 (* 1e200 1e200)) 0 0)
; error: trans transform is singular
