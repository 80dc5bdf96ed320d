(SETQ S '($KVSEL "1F0" "1F1" "1F2" "1F3" "1F4" "1F5" "1F6" "1F7"
                 "1F8" "1F9" "1FA" "1FB" "1FC" "1FD" "1FE" "1FF"))
