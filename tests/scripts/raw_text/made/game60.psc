
#ORG 0x60
=ab #20#hero;'\x5Cn\x5Cend
