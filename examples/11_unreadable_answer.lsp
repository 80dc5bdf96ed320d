; A host that answers with something that is not one readable datum: the closing parenthesis of the
; second point is missing. The worker gives the run up, since there is nothing to go on with; the
; circle around the first point is drawn already.
;
;@ answer GETPOINT (10 20 0)
;@ answer GETPOINT (40 20 0
;@ keep
;@ expect error host response parse error: unterminated list

(SETQ FROM (GETPOINT "From point: "))
(COMMAND "CIRCLE" FROM 5)
(COMMAND "CIRCLE" (GETPOINT FROM "To point: ") 5)
