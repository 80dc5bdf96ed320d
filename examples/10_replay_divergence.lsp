; A replay that takes another course.
;
; When the host answers a call, the worker evaluates the whole program again and takes the earlier
; answers from its record, as long as the program asks for the same again. Here the host moves the
; plan's origin while call 2 waits. In the replay TRANS gives another point, so call 1 asks for
; another entity than the one that was made, and the recorded answer does not fit.
;
;@ system 1 at-call 2 (500 500 0 1 -1 0 1 0)
;@ keep
;@ expect error LISP host replay divergence at call 1: ENTMAKE

(ENTMAKE (LIST '(0 "POINT") '(8 "PLAN") (LIST 10 (TRANS '(10 0 0) 1 0))))
(GETPOINT "Next point: ")
