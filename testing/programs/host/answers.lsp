;; An answer is a datum; it is never evaluated.
(GETPOINT)
; host call: GETPOINT ()
; answer: (1.5 2.5 3)
; => (1.5 2.5 3)

(GETPOINT)
; host call: GETPOINT ()
; answer: UNBOUND
; => UNBOUND

(GETPOINT)
; host call: GETPOINT ()
; answer: (NOSUCH 1)
; => (NOSUCH 1)

(GETPOINT)
; host call: GETPOINT ()
; answer: 'X
; => (QUOTE X)

(IF (GETPOINT) 1 2)
; host call: GETPOINT ()
; answer: nil
; => 2

(IF (GETPOINT) 1 2)
; host call: GETPOINT ()
; answer: ()
; => 1

;; Nothing is checked: a distance may be a string.
(GETDIST)
; host call: GETDIST ()
; answer: "far"
; => "far"

;; Blanks and comments around the datum.
(GETDIST)
; host call: GETDIST ()
; escaped answer: \x1a\n ; the distance\n 5 ; that was it
; => 5
