; A host that answers with something that is not one readable datum: the closing parenthesis of the
; point is missing. The worker gives the run up, since there is nothing to go on with.
;
;@ answer GETPOINT (10 20 0
;@ expect error host response parse error: unterminated list

(DISTANCE '(0 0) (GETPOINT "To point: "))
