#boot
#f.echo on
#org m.0x10
mark 1 ' a remark
'==== a heading is no text
'
mark 2;;mark 3;
#include inner.psc
mark 6
#lock
fulllog on
unlock
mark 7
/
mark 99
mark 98 /
! mark 97
9 mark 8
#codeset other
mark 9
second 10
#kapop game.bin
