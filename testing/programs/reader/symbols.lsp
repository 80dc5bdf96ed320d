;; Whatever is no number is a name, in upper case.
'(foo Foo FOO 1+ 1- - + /= <= * a-b $kvsel)
; => (FOO FOO FOO 1+ 1- - + /= <= * A-B $KVSEL)

'(. .. ... +. -. e5 .e5 1..2 1.2.3 1e 1e+ 1e5e5 --1 +-1)
; => (. .. ... +. -. E5 .E5 1..2 1.2.3 1E 1E+ 1E5E5 --1 +-1)

'(inf INF infinity -inf nan NAN +nan nanx)
; => (INF INF INFINITY -INF NAN NAN +NAN NANX)

'(1d5 0b1 1_000 1,5 1f 12L)
; => (1D5 0B1 1_000 1,5 1F 12L)

;; A parenthesis ends a token: nan(7) is a name and a list.
'(nan(7))
; => (NAN (7))

'(nil NIL Nil nIL)
; => (nil nil nil nil)

'(nils -nil |nil| t T)
; => (NILS -NIL |NIL| T T)

'(a . b)
; => (A . B)

'(#x10 `a ,b [1] {2} @ & % \n a\b)
; => (#X10 `A ,B [1] {2} @ & % \N A\B)
