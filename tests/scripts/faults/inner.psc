walk 8

#org start.0x10 0
walk 9
// never reached
