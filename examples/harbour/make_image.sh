#!/usr/bin/env bash
# Makes the image of Lantern Quay, 64 KiB, always the same bytes:  make_image.sh TARGET
# README.md has the map. Scripts and texts are written as the command database says (base/includes.psh).
# shellcheck disable=SC2046,SC2059  # lists of bytes are split on purpose, and bytes are formats
set -euo pipefail
export LC_ALL=C

[ $# -eq 1 ] || { echo "usage: make_image.sh TARGET" >&2; exit 2; }
image=$1

# put OFFSET BYTE...: bytes, as pairs of hexadecimal digits, at an offset of the image.
put() {
  local at=$1
  shift
  printf '%b' "$(printf '\\x%s' "$@")" | dd of="$image" bs=1 seek=$((at)) conv=notrunc status=none
}

# A word; a pointer to a place of the image, with the bank that the game is seen in.
word() { printf '%02x %02x' $(($1 & 255)) $(($1 >> 8 & 255)); }
pointer() { printf '%s 00 08' "$(word "$1")"; }

ascii() {
  local i
  for ((i = 0; i < ${#1}; i++)); do printf '%02x ' "'${1:i:1}"; done
}

# text TEXT: the bytes of a text in the game's alphabet, control codes and all.
text() {
  local left=$1 byte length
  while [ -n "$left" ]; do
    length=1
    case $left in
      '\end'*) byte=FF length=4 ;;
      '\line'*) byte=FE length=5 ;;
      '\page'*) byte=FD length=5 ;;
      '\player'*) byte=FC length=7 ;;
      '#anchor'*) byte=E0 length=7 ;;
      '#heart'*) byte=E1 length=6 ;;
      th*) byte=D8 length=2 ;;
      er*) byte=D9 length=2 ;;
      ou*) byte=DA length=2 ;;
      ' '*) byte=CA ;;
      '.'*) byte=CB ;;
      ','*) byte=CC ;;
      '!'*) byte=CD ;;
      '?'*) byte=CE ;;
      "'"*) byte=CF ;;
      '-'*) byte=D0 ;;
      ':'*) byte=D1 ;;
      [A-Z]*) byte=$(letter A 128) ;;
      [a-z]*) byte=$(letter a 160) ;;
      [0-9]*) byte=$(letter 0 192) ;;
      *) echo "no letter for ${left:0:1}" >&2 && return 1 ;;
    esac
    printf '%s ' "$byte"
    left=${left:length}
  done
}

# letter FIRST CODE: the byte of the first character of $left, where FIRST has that code.
letter() { printf '%02x' $(($(printf '%d' "'$left") - $(printf '%d' "'$1") + $2)); }

# Free space.
head -c 65536 /dev/zero | tr '\000' '\377' >"$image"

# The head: the name of the game, its version, its first script.
put 0x0000 $(ascii 'LANTERN QUAY') 00 00 $(word 0x0102) $(pointer 0x0200)

# What the townsfolk say: a script for each of the five, three places that nobody stands at yet.
put 0x0100 $(pointer 0x0200) $(pointer 0x0240) $(pointer 0x0280) $(pointer 0x02A0) $(pointer 0x02C0) \
  00 00 00 00 00 00 00 00 00 00 00 00

# The timetable of the ferry, minutes after midnight. The sizes of the four wharves.
put 0x0140 $(word 420) $(word 540) $(word 720) $(word 900) $(word 1080) $(word 0)
put 0x0150 0C 10 08 14

# The keeper of the lighthouse.
put 0x0200 20 08 05 $(word 0x0102) $(pointer 0x0220) 10 $(pointer 0x0400) 13 02 01
put 0x0220 10 $(pointer 0x0420) 01
# The ferryman.
put 0x0240 11 $(pointer 0x0440) $(pointer 0x0268) 21 02 $(pointer 0x0C00) 40 01 24 15 $(word 0x0011) 01
put 0x0268 10 $(pointer 0x0460) 01
# The baker.
put 0x0280 10 $(pointer 0x04C0) 31 05 01 22 03 $(pointer 0x0C20) 01
# The sign at the wharf.
put 0x02A0 16 $(pointer 0x0480) 30 01 00 00 00 01
# The evening bell, which other scripts call.
put 0x02C0 13 03 14 1E 13 03 14 1E 04

put 0x0400 $(text 'The lamp is out tonight.\end')
put 0x0420 $(text 'Bright as day!\end')
put 0x0440 $(text 'Across the bay, \player?\end')
put 0x0460 $(text 'Mind the tide.\end')
put 0x0480 $(text 'Every boat comes home. #anchor\end')
put 0x04C0 $(text "A bun, while it's warm!\end")

# Movements: steps and waits up to FF. The ferryman goes aboard; somebody bows.
put 0x0C00 12 12 12 11 30 11 FF
put 0x0C20 30 31 30 FF

# The picture of the sea: one wave of 32 bytes, over and over.
wave=(00 01 03 06 0C 19 33 67 CF 9F 3F 7F FE FC F8 F0 E0 C0 80 01 02 04 09 13 27 4F 9E 3C 78 F0 60 00)
printf "$(printf '\\x%s' "${wave[@]}")%.0s" {1..512} |
  dd of="$image" bs=16384 seek=1 conv=notrunc iflag=fullblock status=none
