; SYNTAX TEST "source.lisp-worker" "forms, numbers, names, texts, comments and script lines"

;@ answer GETPOINT 10,20
; <-- punctuation.definition.comment.lisp-worker
;  ^^^^^^ keyword.other.script.lisp-worker

(defun Ring-1 (Centre / N)  ; six
; <-- -storage
;^^^^^ storage.type.function.lisp-worker
;      ^^^^^^ entity.name.function.lisp-worker
;              ^^^^^^ variable.other.lisp-worker
;                           ^^^^^ comment.line.semicolon.lisp-worker
  (setq N 0 M nil P T TALL 1e3)
;  ^^^^ keyword.control.lisp-worker
;       ^ variable.other.lisp-worker
;         ^ constant.numeric.lisp-worker
;             ^^^ constant.language.lisp-worker
;                   ^ constant.language.lisp-worker
;                     ^^^^ variable.other.lisp-worker
;                          ^^^ constant.numeric.lisp-worker
  (command-s "a\"b ; c" '(1 -.5 0x1F 1+ 5.) (1+ N) (/= 1 2) (my-car 1) (car '(a)))
;  ^^^^^^^^^ support.function.host.lisp-worker
;            ^^^^^^^^^^ string.quoted.double.lisp-worker
;              ^^ constant.character.escape.lisp-worker
;                       ^ keyword.operator.quote.lisp-worker
;                         ^ constant.numeric.lisp-worker
;                           ^^^ constant.numeric.lisp-worker
;                               ^^^^ constant.numeric.lisp-worker
;                                    ^^ variable.other.lisp-worker
;                                       ^^ constant.numeric.lisp-worker
;                                            ^^ support.function.builtin.lisp-worker
;                                                   ^^ support.function.builtin.lisp-worker
;                                                            ^^^^^^ variable.other.lisp-worker
;                                                                       ^^^ support.function.builtin.lisp-worker
  (while (<= N 1.5e-3.x) (not nil)))
;  ^^^^^ keyword.control.lisp-worker
;         ^^ support.function.builtin.lisp-worker
;              ^^^^^^^^ variable.other.lisp-worker
;                        ^^^ -support
;                         ^^^ keyword.control.lisp-worker

"a text
over lines ; no comment"
;         ^^^^^^^^^^^^^^ string.quoted.double.lisp-worker
