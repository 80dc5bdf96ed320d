;; A z scale of 1e-18 is singular, one of 1.1e-18 is not; likewise determinants.
; context: 7
; system 1: 0 0 1 0 0 1 1e-18 0
; system 2: 0 0 1 0 0 1 1.1e-18 0
; system 3: 0 0 1e-18 0 0 1 1 0
; system 4: 0 0 1.1e-18 0 0 1 1 0
(TRANS '(1 2 0) 1 0)
; error: trans transform is singular

(TRANS '(1 2 0) 0 1)
; error: trans transform is singular

(TRANS '(1 2 0) 2 0)
; => (1 2 0)

(TRANS '(0 2 0) 0 3)
; error: trans transform is singular

(CAR (TRANS '(0 2 0) 0 4))
; => 0
