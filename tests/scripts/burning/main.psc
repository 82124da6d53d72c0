#boot
here b
#org a 3
here a
#org empty
#org b 3
here empty
#org a 4
#kapush b 0x30
#kapush gone -16
#org gone 5
#01
#kapop game.bin
#org late 6
here b
#kapop game.bin
#kableewy
#kapop game.bin
