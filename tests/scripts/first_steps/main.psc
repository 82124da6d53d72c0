#boot
' two labels, one pointer from each buffer to the other
#org house.0x20 0
walk 10
jump street
#org street.0x40 1
walk 0x1234 ' a comment
jump house.0x20
#kapop game.bin
