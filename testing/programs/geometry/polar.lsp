(POLAR '(1 2) 0 5)
; => (6 2 0)
; ---
(POLAR '(1 2 3) 0 5)
; => (6 2 3)
; ---
;; A third element that is no number counts as 0.
(POLAR '(1 2 "3") 0 5)
; => (6 2 0)
; ---
(POLAR '(1 2) 0 -5)
; => (-4 2 0)
; ---
(POLAR)
; eval-error POLAR argument count
; ---
(POLAR '(1 2) 0)
; eval-error POLAR argument count
; ---
(POLAR '(1 2) 0 5 6)
; eval-error POLAR argument count
; ---
(POLAR 5 0 5)
; eval-error POLAR expects point list
; ---
(POLAR '(1 2) "0" 5)
; eval-error polar expects point, angle, distance
; ---
(POLAR '(1 2) 0 NIL)
; eval-error polar expects point, angle, distance
; ---
;; The point is looked at first.
(POLAR '(1) NIL NIL)
; eval-error POLAR expects point list
