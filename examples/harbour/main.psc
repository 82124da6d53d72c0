// Lantern Quay: the night of the lamps
/
 The old town sleeps at night. With these scripts it stays up once a year: the keeper lights
 the lamps, the ferryman has become a captain with a winter timetable, and there is a watch.

 Everything new goes into the free space from 0x8000 on, and the tables of the old game
 are changed to lead there.
/

' Where scripts of the old game stand that the new ones use. They have no label here, so they are pushed.
#kapush evening_bell 0x02C0
#kapush old_baker 0x0280

' The first labels of two buffers. The labels behind them follow in the order of the script.
#kapush keeper_talk 0x8000
#kapush keeper_hello 0x9000

#include townsfolk.psc
#include ferry.psc
#include texts.psc
#include "night watch.psc"
#include movements.psc
#include tables.psc
