;; The eleven calls that the host answers.
(GETPOINT)
; call GETPOINT ()
; answer 1
; => 1
; ---
(GETCORNER)
; call GETCORNER ()
; answer 2
; => 2
; ---
(GETDIST)
; call GETDIST ()
; answer 3
; => 3
; ---
(SSGET)
; call SSGET ()
; answer 4
; => 4
; ---
(ENTGET)
; call ENTGET ()
; answer 5
; => 5
; ---
(ENTMOD)
; call ENTMOD ()
; answer 6
; => 6
; ---
(ENTMAKE)
; call ENTMAKE ()
; answer 7
; => 7
; ---
(ENTMAKEX)
; call ENTMAKEX ()
; answer 8
; => 8
; ---
(COMMAND)
; call COMMAND ()
; answer 9
; => 9
; ---
(COMMAND-S)
; call COMMAND-S ()
; answer 10
; => 10
; ---
(OSNAP)
; call OSNAP ()
; answer 11
; => 11
; ---
;; The reader folds case.
(getpoint)
; call GETPOINT ()
; answer nil
; => nil
