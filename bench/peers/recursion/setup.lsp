(DEFUN FIB (N)
  (IF (< N 2)
    N
    (+ (FIB (- N 1)) (FIB (- N 2)))))
