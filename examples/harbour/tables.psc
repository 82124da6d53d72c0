' Tables of the old game, changed where they stand: buffer 5. Every label carries its offset in its name.

' Who says what: keeper, ferryman and baker anew; the sign is a board now; the bell stays; the watch is new.
#org townsfolk.0x0100 5
$keeper_talk $captain_talk.0x8400 $baker_talk $wharf_sign
#inline $evening_bell $watch_walks

' The timetable: 8:00, 12:00, 17:00, 22:30, 23:45 in minutes; the last is none.
#org timetable.0x0140
#inline 480 720 1020 1350 1425
#inline 0 0

' The sizes of the four wharves, raw: the last one has been built out.
#org wharves.0x0150
#0C 10 08 20
