(POLAR '(1 2) 0 5)
; => (6 2 0)

(POLAR '(1 2 3) 0 5)
; => (6 2 3)

;; A third element that is no number counts as 0.
(POLAR '(1 2 "3") 0 5)
; => (6 2 0)

(POLAR '(1 2) 0 -5)
; => (-4 2 0)

(POLAR)
; error: POLAR argument count

(POLAR '(1 2) 0)
; error: POLAR argument count

(POLAR '(1 2) 0 5 6)
; error: POLAR argument count

(POLAR 5 0 5)
; error: POLAR expects point list

(POLAR '(1 2) "0" 5)
; error: polar expects point, angle, distance

(POLAR '(1 2) 0 NIL)
; error: polar expects point, angle, distance

;; The point is looked at first.
(POLAR '(1) NIL NIL)
; error: POLAR expects point list
