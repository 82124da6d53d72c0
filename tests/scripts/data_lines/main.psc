#boot
#fulllog on
#org text.0x10 0
=the t\player\end
=#beach#be&hbe#b
say 0x2020 =Tth #41#BEACH = lost
#org raw.0x40 1
#0 1 2 3 4 5 6 7 8 9 A B C D E F 10 11 12 &h1314
&h15 123456789abcdef012
#move 1 2 3 4 5 6 7 8 9 a b c d e f 10 11 12 13 i 14 l 15
#binary i 203 byte 7
#raw FF
#org inline.0x80 2
$raw.0x40 0x12 0x123 300 70000 0 $inline.0x80
#inline 1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16 17 18
#kapop game.bin
