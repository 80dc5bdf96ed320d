" Colours of programs for the LISP worker.

if exists('b:current_syntax')
  finish
endif

" A name is everything between blanks, brackets, quotes and comments.
syntax iskeyword @,33,35-38,42-58,60-126,128-255
syntax case ignore

syntax keyword lispWorkerSpecial contained QUOTE SETQ IF PROGN WHILE DEFUN AND OR NOT NULL
syntax keyword lispWorkerBuiltin contained + - * / 1+ 1- = /= < > <= >= EQ EQUAL LIST CAR CDR CONS
syntax keyword lispWorkerBuiltin contained LENGTH PRINC PRIN1 SSLENGTH SSNAME DISTANCE ANGLE POLAR
syntax keyword lispWorkerBuiltin contained TRANS
syntax keyword lispWorkerHostCall contained GETPOINT GETCORNER GETDIST SSGET ENTGET ENTMOD ENTMAKE
syntax keyword lispWorkerHostCall contained ENTMAKEX COMMAND COMMAND-S OSNAP

syntax keyword lispWorkerConstant NIL T
syntax match lispWorkerNumber /\k\@1<![+-]\?\%(\d\+\.\?\d*\|\.\d\+\)\%(e[+-]\?\d\+\)\?\k\@!/
syntax match lispWorkerNumber /\k\@1<![+-]\?0x\x\+\.\?\x*\%(p[+-]\?\d\+\)\?\k\@!/
syntax match lispWorkerQuote /'/
syntax match lispWorkerHead /(\s*\k\+/ contains=lispWorkerSpecial,lispWorkerBuiltin,lispWorkerHostCall
syntax match lispWorkerDefinition /\c\%((\s*DEFUN\s\+\)\@20<=\k\+/
syntax region lispWorkerText start=/"/ skip=/\\./ end=/"/ contains=lispWorkerEscape,@Spell
syntax match lispWorkerEscape /\\./ contained
syntax match lispWorkerComment /;.*$/ contains=@Spell
syntax match lispWorkerScript /^\s*;@.*$/

highlight default link lispWorkerSpecial Statement
highlight default link lispWorkerBuiltin Function
highlight default link lispWorkerHostCall Special
highlight default link lispWorkerConstant Constant
highlight default link lispWorkerNumber Number
highlight default link lispWorkerQuote Operator
highlight default link lispWorkerDefinition Identifier
highlight default link lispWorkerText String
highlight default link lispWorkerEscape SpecialChar
highlight default link lispWorkerComment Comment
highlight default link lispWorkerScript PreProc

let b:current_syntax = 'lisp_worker'
