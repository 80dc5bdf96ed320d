; A conversion that has no result. System 4 of the console's context throws a shadow on the world's
; x axis: every point has one, but no shadow leads back to a single point.
;
;@ answer GETPOINT (30 40 0)
;@ keep
;@ expect error trans transform is singular

(SETQ POINT (GETPOINT "Where: "))
(SETQ SHADOW (TRANS POINT 4 0))
(COMMAND "LINE" POINT SHADOW "" "CIRCLE" SHADOW 3)
(TRANS SHADOW 0 4)
