#boot
#org start.0x10
walk
walk 300
walk 1 2 3
walk 12ab
walk $1
walk name
walk &h1FFFFFFFF
walk &hXY
turn 0; turn 2
lost 1
round 1
stroll 1
ghost 1
loop 1 2 3
turn $1
walk 0x12zz
walk 1; strole 2; walk 3
stand
walk 7
#org bad.0xG0 1; #01
#org odd.0x40z 2; #02
#org last.0x123456789 3; #03
#kapop nowhere.bin
#kapop game.bin
/ a block
#kapow
walk 1 /
#kapow
#fulllog on
#include inner.psc
// never reached
