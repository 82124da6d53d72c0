' The people of the town: buffer 0. Its first label is pushed in main.psc.

#org keeper_talk 0
look south
ifset lamps_lit keeper_proud ' only once a night
ask keeper_hello keeper_sulks
hand over lantern times 1; wait 30 ticks
lamp 1 0
lamp 2 0
lamp 3 0
set lamps_lit
call evening_bell ' in the image since the old game: a floating pointer
goto keeper_proud

#org keeper_proud
say keeper_thanks; bow keeper
reward keeper 250
done

#org keeper_sulks
clear lamps_lit
say keeper_alone
storm from north
done

' The baker is still there, but at night there are buns for those who know the captain.
#org baker_talk
ifclear knows_captain old_baker
say baker_night
give bun 3; take lantern 1
motto
done
