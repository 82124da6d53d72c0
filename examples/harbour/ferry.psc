' The ferry: buffer 1, at a place that its first label carries in its name.

#org captain_talk.0x8400 1
place captain 12 0x0107; face north
ask captain_hello captain_waits
set knows_captain
pay out 5 coins
tide 3; signal 2; chart 1
stroll captain captain_boards ' an alias of walk
evening bell
weather 1 west 4
sail 1
music 0x0011
done

#org captain_waits
weather 0; wind east 2
seal
say captain_later
done

' A notice board holds its text itself: what stands behind a code line after " =" is a text.
#org wharf_sign
board =#lanternNight ferries: \red22:30\plain and 23:45\end
