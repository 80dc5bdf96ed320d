(SETQ S '($KVSEL "A" "B"))
(LIST (SSNAME S 0) (SSNAME S 1) (SSNAME S 2))
; => ("A" "B" nil)

;; An index that names no member gives nil.
(LIST (SSNAME S -1) (SSNAME S 0.5) (SSNAME S 1.0000001) (SSNAME S 1e300) (SSNAME S (* 1e200 1e200)))
; => (nil nil nil nil nil)

(LIST (SSNAME S (- (* 1e200 1e200))) (SSNAME S (- (* 1e200 1e200) (* 1e200 1e200))))
; => (nil nil)

(LIST (SSNAME S 18446744073709551615) (SSNAME S 18446744073709551616))
; => (nil nil)

(SSNAME S -0.0)
; => "A"

(SSNAME '($KVSEL) 0)
; => nil

(SSNAME)
; error: ssname expects selection set and index

(SSNAME S)
; error: ssname expects selection set and index

(SSNAME S 0 0)
; error: ssname expects selection set and index

(SSNAME S "0")
; error: ssname expects selection set and index

;; The index is looked at first.
(SSNAME '(1 2) NIL)
; error: ssname expects selection set and index

(SSNAME '(1 2) 0)
; error: ssname expects a selection set

(SSNAME '("$KVSEL" 1) 0)
; error: ssname expects a selection set

(SSNAME NIL 0)
; error: ssname expects a selection set

;; Walking a set.
(SETQ SET (SSGET "X") I 0 NAMES NIL)
(WHILE (SSNAME SET I) (SETQ NAMES (CONS (SSNAME SET I) NAMES) I (1+ I)))
NAMES
; host call: SSGET ("X")
; answer: ($KVSEL E1 E2 E3)
; => (E3 E2 E1)
