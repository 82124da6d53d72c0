' Movements: buffer 4. Steps and waits as bytes, FF at the end; bare numbers of a #move line are hexadecimal.

#org captain_boards 4
#move 12 12 30 11 11 30 FF

' The watch goes round the four wharves and stays a while at each. "i" and "b" change the width.
#org watch_round
#move 10 10 10 10 30 11 11 11 i 3130 b 12 12 12 12 30 13 13 13 FF
