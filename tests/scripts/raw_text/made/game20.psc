
#ORG 0x20
stroll &h1234 slowly
walk &h0007 &h09
look up
say &h08000060
when &h02 &h0102 &h08000020
when &h09 &h08000020
dance &h08000070
jump &h08000080
stop

#ORG 0x60
=ab #20#hero;'\x5Cn\x5Cend
#ORG 0x70
#move &h1 &h2 &h3 &h4 &h5 &h6 
#move &h7 &hFF 
#ORG 0x80
look up
jump &h08000090
' the byte 0x77 at 0x87 begins no command

#ORG 0x90
say &h08000060
jump &h09000000
jump &h08000080
' the byte 0x13 at 0x9F begins no command

