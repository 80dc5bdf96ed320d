;; An answer is a datum; it is never evaluated.
(GETPOINT)
; call GETPOINT ()
; answer (1.5 2.5 3)
; => (1.5 2.5 3)
; ---
(GETPOINT)
; call GETPOINT ()
; answer UNBOUND
; => UNBOUND
; ---
(GETPOINT)
; call GETPOINT ()
; answer (NOSUCH 1)
; => (NOSUCH 1)
; ---
(GETPOINT)
; call GETPOINT ()
; answer 'X
; => (QUOTE X)
; ---
(IF (GETPOINT) 1 2)
; call GETPOINT ()
; answer nil
; => 2
; ---
(IF (GETPOINT) 1 2)
; call GETPOINT ()
; answer ()
; => 1
; ---
;; Nothing is checked: a distance may be a string.
(GETDIST)
; call GETDIST ()
; answer "far"
; => "far"
; ---
;; Blanks and comments around the datum.
(GETDIST)
; call GETDIST ()
; escaped answer \x1a\n ; the distance\n 5 ; that was it
; => 5
