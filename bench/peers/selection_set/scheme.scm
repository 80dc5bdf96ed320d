; The variable is global, or the compiler would see that only its last value is needed.
(define e #f)
(define (main)
  (define s '#("1F0" "1F1" "1F2" "1F3" "1F4" "1F5" "1F6" "1F7"
               "1F8" "1F9" "1FA" "1FB" "1FC" "1FD" "1FE" "1FF"))
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
