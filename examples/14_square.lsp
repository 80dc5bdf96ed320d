; The shortest useful program: a square.
;@ answer GETPOINT (20 10 0)
;@ expect value nil

(SETQ CORNER (GETPOINT "Lower left corner: "))
(COMMAND "PLINE" CORNER "@40,0" "@0,40" "@-40,0" "C")
