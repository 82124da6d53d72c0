' What they say: buffer 2. Its first label is pushed in main.psc.

#org keeper_hello 2
=Good evening, \player!\lineIt's the night of the lamps.\pageWould you light them with me?\end
#org keeper_thanks
=Look: the whole bay shines. #heart\end
#org keeper_alone
=Then I'll do it alone, as ever.\end
#org baker_night
=Buns with the captain's mark: #anchor\lineHave three!\end
#org captain_hello
=Ahoy! Aboard, \player?\lineThat's 5 coins.\end
#org captain_later
=\redStorm\plain or no storm, we sail at 22:30.\end
