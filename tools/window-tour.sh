#!/usr/bin/env bash
# Goes through the example in the Windows program's window, under Wine on a display of its own, by the keyboard alone,
# and takes its pictures: build/tour/*.png. With a folder as argument, the program is taken from there and not built.
set -euo pipefail
cd "$(dirname "$0")/.."
. tools/need.sh

need wine wine
need_file /usr/lib/wine/wine64 wine64
need Xvfb xvfb
need xdotool xdotool
need import imagemagick

programs=${1:-build/windows}
if [ $# -eq 0 ]; then
  need_build x86_64-w64-mingw32-g++-posix g++-mingw-w64-x86-64-posix
  { cmake --preset windows && cmake --build --preset windows; } >build-log.txt 2>&1 ||
    { tail -n 60 build-log.txt; exit 1; }
  rm -f build-log.txt
fi

tour=build/tour
rm -rf "$tour"
mkdir -p "$tour"
WINEPREFIX=$(mktemp -d)
export WINEPREFIX WINEDEBUG=-all WINEDLLOVERRIDES='mscoree,mshtml='
display_file=$WINEPREFIX/display
Xvfb -displayfd 3 -screen 0 1024x768x24 -nolisten tcp 3>"$display_file" >/dev/null 2>&1 &
display_process=$!
end() {
  timeout 30 wineserver -k || true
  kill "$display_process" || true
  wait || true
  rm -rf "$WINEPREFIX"
}
trap end EXIT
for _ in $(seq 100); do
  [ -s "$display_file" ] && break
  sleep 0.1
done
DISPLAY=:$(cat "$display_file")
export DISPLAY

timeout 120 wineboot -i >/dev/null 2>&1
desktops='HKCU\Software\Wine\Explorer'
timeout 60 wine reg add "$desktops" /v Desktop /d tour /f >/dev/null
timeout 60 wine reg add "$desktops\\Desktops" /v tour /d 1024x768 /f >/dev/null

game=$WINEPREFIX/drive_c/harbour
cp -r examples/harbour "$game"
"$game/make_image.sh" "$game/harbour.bin" >/dev/null
cp "$programs/tidewright.exe" "$game"
(cd "$game" && timeout 300 wine 'C:\harbour\tidewright.exe') &

# wait_for TEXT: until the session's log has it.
wait_for() {
  for _ in $(seq 300); do
    grep -qsaF -- "$1" "$game"/log/*.log && return
    sleep 0.1
  done
  echo "never in the log: $1" >&2
  exit 1
}

picture() {
  sleep 0.7 # what was shown last is painted
  timeout 30 import -window root "$tour/$1.png"
  echo "$tour/$1.png"
}

# line TEXT AWAITED: types a line.
line() {
  timeout 60 xdotool type --delay 12 -- "$1"
  timeout 60 xdotool key Return
  wait_for "$2"
}

timeout 60 xdotool search --sync --onlyvisible --name 'LOG. Instant' >/dev/null
sleep 1.5 # the desktop around it, too
picture 1-start
line '#boot; #include main.psc' '#OFFSET: watch_call'
picture 2-compiled
line '#kapop harbour.bin' 'Pushed keeper_alone to'
picture 3-burned
line '#rawdecode harbour.bin 0x0280 3; #whoami' 'Tidewright '
line '#dir *.psc' 'townsfolk.psc'
picture 4-decoded
timeout 60 xdotool key alt+f
picture 5-menu
timeout 60 xdotool key Escape
timeout 60 xdotool key Escape
timeout 60 xdotool key ctrl+d
sleep 2
picture 6-file-box
timeout 60 xdotool key Escape
sleep 1
timeout 60 xdotool type --delay 12 -- '#org late.0x9800 6; jump nowhere; #kapow'
timeout 60 xdotool key Return
timeout 60 xdotool search --sync --onlyvisible --name 'CRITICAL ERROR' >/dev/null
picture 7-crash
timeout 60 xdotool key Return
sleep 1
timeout 60 xdotool type --delay 12 -- '#exit'
timeout 60 xdotool key Return
