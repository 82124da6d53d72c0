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
#kapush far 0x7fffffff
#org far 0
#01 02
#org follower 1
#02
#org here.0x40 2
#03
#org typo.0xG0 3
#04
#org tail 3
#05
#org end 4
#06
#kapop game.bin
