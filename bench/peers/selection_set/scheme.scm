; Global variables: a compiler that knew the set and that only the last value is needed would
; leave out the loop.
(define s (list->vector '("1F0" "1F1" "1F2" "1F3" "1F4" "1F5" "1F6" "1F7"
                          "1F8" "1F9" "1FA" "1FB" "1FC" "1FD" "1FE" "1FF")))
(define e #f)
(define (main)
  (define (walk)
    (let next ((i 0))
      (if (< i (vector-length s))
          (begin
            (set! e (vector-ref s i))
            (next (+ i 1))))))
  (let again ((j 0))
    (if (< j (* rounds 1400))
        (begin
          (walk)
          (again (+ j 1)))))
  (display e))
(main)
