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
stand
walk 7
#kapop nowhere.bin
#kapop game.bin
/ a block
#kapow
walk 1 /
#kapow
#fulllog on
#include inner.psc
// never reached
