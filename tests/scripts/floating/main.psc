#boot
#org main.0x10
call first; call second; call third; call 0x40; call 0x8000040
call fixed.0x30; call 0
#autobank off
#kapop game.bin
