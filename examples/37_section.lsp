; A bush, cut in half: hatches, centre lines, line weights and signs in texts.
;@ expect value 4

(COMMAND "LAYER" "M" "EDGES" "C" "black" "" "LW" 0.5 "" "")
(COMMAND "PLINE" "0,0" "80,0" "80,50" "50,50" "A" "S" "47,47" "44,50" "L" "0,50" "C")
(COMMAND "PLINE" "0,15" "80,15" "80,35" "0,35" "C")
(COMMAND "CIRCLE" "140,25" 25)
(COMMAND "CIRCLE" "140,25" 10)

(COMMAND "LAYER" "M" "SECTION" "C" "grey" "" "LW" 0.18 "" "")
(COMMAND "HATCH" "LINE" 2 45 (SSGET "X" '((0 "POLYLINE") (8 "EDGES"))) "")

(COMMAND "LAYER" "M" "HIDDEN" "C" "blue" "" "L" "HIDDEN" "" "LW" 0.25 "" "")
(COMMAND "CIRCLE" "140,25" 14)

(COMMAND "LAYER" "M" "AXES" "C" "red" "" "L" "CENTER" "" "LW" 0.18 "" "")
(COMMAND "LINE" "-8,25" "173,25" "" "LINE" "140,-8" "140,58" "")

(COMMAND "LAYER" "M" "NOTES" "C" "black" "" "")
(COMMAND "TEXT" "24,28" 4.5 0 "%%c20 %%p0.05")
(COMMAND "TEXT" "J" "C" "40,55" 4.5 0 "R3, 1 x 45%%d")
(COMMAND "PLINE" "168,64" "168,58" "174,61" "C" "HATCH" "SOLID" "L" "")
(COMMAND "TEXT" "176,59" 4.5 0 "A")
(ENTMAKE (LIST '(0 "POLYLINE") '(8 "NOTES") '(6 "DASHED") '(370 35) '(10 (106 -10)) '(42 -0.4142)
               '(10 (102 -6)) '(10 (102 56)) '(42 -0.4142) '(10 (106 60)) '(10 (164 60))))
(SSLENGTH (SSGET "X" '((8 "EDGES"))))
