; A Koch curve: a line in four pieces, each again, by recursion.
;@ load lib/points.lsp
;@ expect value 64

(SETQ COUNT 0)

(DEFUN KOCH (P Q LEVEL / A B TOP)
  (IF (= LEVEL 0)
      (PROGN
        (MAKE-LINE "CURVE" P Q)
        (SETQ COUNT (1+ COUNT)))
      (PROGN
        (SETQ A (BETWEEN P Q (/ 1 3)) B (BETWEEN P Q (/ 2 3)))
        (SETQ TOP (POLAR A (+ (ANGLE P Q) (/ PI 3)) (DISTANCE A B)))
        (KOCH P A (1- LEVEL))
        (KOCH A TOP (1- LEVEL))
        (KOCH TOP B (1- LEVEL))
        (KOCH B Q (1- LEVEL)))))

(KOCH '(0 0 0) '(270 0 0) 3)
COUNT
