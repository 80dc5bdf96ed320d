; A recursion without an end condition that it ever meets. Each call takes three of the 128 levels:
; the call, the IF, the 1+ around the next call.
;
;@ expect error LISP evaluation depth exceeded

(DEFUN COUNT-UP (N)
  (IF (= N -1) 0 (1+ (COUNT-UP (1+ N)))))

(COUNT-UP 0)
