;; Of two NaNs the first one's sign is the result's, whatever order a compiler likes better.
(SETQ H (* 1e200 1e200) U (- H H) V (- U))
(LIST (+ U V) (+ V U) (* U V) (* V U) (- U V) (- V U) (/ U V) (/ V U))
; => (-nan nan -nan nan -nan nan -nan nan)

;; x + r cos: the point's NaN before the product's.
(POLAR (LIST V U) 0 U)
; => (nan -nan 0)

;; The distance's before the cosine's.
(POLAR (LIST 0 0) V U)
; => (-nan -nan 0)
