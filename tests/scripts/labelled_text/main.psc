#boot
#include town.psh
#kapoke town.buf
#kableewy
#fulllog on
#decode town.buf
#fulllog off
' what was decoded is burned
#kableewy
#include town.psc
#kapop game.bin
