#boot
#rawdecode game.bin 0x20 3
' burned again at the same places, it is the same image
#include game20.psc
#kapop game.bin
#rawdecode game.bin 0x60
