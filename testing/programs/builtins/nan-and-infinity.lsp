;; Infinities and NaN pass through every operation silently.
(SETQ INFINITE (* 1e200 1e200) UNDEFINED (- INFINITE INFINITE))
; => -nan

(- UNDEFINED)
; => nan

(LIST INFINITE (- INFINITE) (+ INFINITE 1) (- 1 INFINITE))
; => (inf -inf inf -inf)

;; The first NaN among the operands is the result.
(LIST (+ UNDEFINED 1) (+ 1 (- UNDEFINED)) (+ UNDEFINED (- UNDEFINED)) (+ (- UNDEFINED) UNDEFINED))
; => (-nan nan -nan nan)

(LIST (* UNDEFINED (- UNDEFINED)) (* (- UNDEFINED) UNDEFINED) (- (- UNDEFINED) UNDEFINED))
; => (-nan nan nan)

(LIST (/ UNDEFINED (- UNDEFINED)) (/ 1 (- UNDEFINED)) (1+ (- UNDEFINED)) (1- UNDEFINED))
; => (-nan nan nan -nan)

;; What is undefined without a NaN among the operands has its sign bit set.
(LIST (* 0 INFINITE) (/ INFINITE INFINITE) (+ INFINITE (- INFINITE)))
; => (-nan -nan -nan)

;; NaN equals nothing, itself included.
(LIST (= UNDEFINED UNDEFINED) (/= UNDEFINED UNDEFINED) (< UNDEFINED 1) (> UNDEFINED 1)
      (<= UNDEFINED UNDEFINED) (>= UNDEFINED UNDEFINED))
; => (nil T nil nil nil nil)

(LIST (EQUAL UNDEFINED UNDEFINED) (EQ (LIST UNDEFINED) (LIST UNDEFINED)))
; => (nil nil)

;; Not even a list is equal to itself that holds one, however deep.
(SETQ L (LIST 1 (LIST 2 UNDEFINED)))
(EQUAL L L)
; => nil

(EQUAL INFINITE INFINITE)
; => T
