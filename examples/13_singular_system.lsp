; A conversion that has no result. System 4 of the console's context throws a shadow on the world's
; x axis: every point has one, but no shadow leads back to a single point.
;
;@ expect error trans transform is singular

(TRANS (TRANS '(3 4 0) 4 0) 0 4)
