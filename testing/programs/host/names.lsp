;; The eleven calls that the host answers.
(GETPOINT)
; host call: GETPOINT ()
; answer: 1
; => 1

(GETCORNER)
; host call: GETCORNER ()
; answer: 2
; => 2

(GETDIST)
; host call: GETDIST ()
; answer: 3
; => 3

(SSGET)
; host call: SSGET ()
; answer: 4
; => 4

(ENTGET)
; host call: ENTGET ()
; answer: 5
; => 5

(ENTMOD)
; host call: ENTMOD ()
; answer: 6
; => 6

(ENTMAKE)
; host call: ENTMAKE ()
; answer: 7
; => 7

(ENTMAKEX)
; host call: ENTMAKEX ()
; answer: 8
; => 8

(COMMAND)
; host call: COMMAND ()
; answer: 9
; => 9

(COMMAND-S)
; host call: COMMAND-S ()
; answer: 10
; => 10

(OSNAP)
; host call: OSNAP ()
; answer: 11
; => 11

;; The reader folds case.
(getpoint)
; host call: GETPOINT ()
; answer: nil
; => nil
