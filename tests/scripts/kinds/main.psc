#boot
#org start.0x10 2
byte drei; byte 0xAB
word 0x1234; word 513
dword 0xFFFFFFFE; dword 65536
dword -2
choose 0; choose 2
fixed
named
tell start.0x10
masked 3
bound 2 0x1111 5; bound 3 5
always 1 2
many 1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 Start.0x10
double 1
go to $START.0x10
sound the word 7 and stop
quick
GOTO start.0x10
three paces
#kapop game.bin
