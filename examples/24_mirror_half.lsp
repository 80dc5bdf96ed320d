; Half a bracket becomes a whole one: everything is mirrored in the line x = 50.
;
;@ drawing drawings/bracket.json
;@ expect value 10

(COMMAND "MIRROR" "ALL" "" '(50 0) '(50 10) "N")
(SSLENGTH (SSGET "X"))
