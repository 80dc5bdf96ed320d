;; A comment goes to the end of its line.
(LIST 1 ;; (2 "3
 4)
; => (1 4)

; escaped program: 5;comment
; => 5

; escaped program: ;comment\n;another\n\n 5 ;last\n;
; => 5

; program: ;only (a "comment
; => nil
; steps: 0

;; No blank is needed before it, and a line feed is needed to end it: a carriage return is not.
; escaped program: (LIST 1;x\n2;x\r3\n)
; => (1 2)
