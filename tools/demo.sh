#!/usr/bin/env bash
# Shows the main job on examples/harbour: installs what the build lacks, builds build/tidewright, makes the image of
# the game, compiles the scripts and burns them in. Prints what was compiled, where each label went and which bytes
# changed. The image, the session and its log stay in build/demo.
set -euo pipefail
export LC_ALL=C # images and sessions hold bytes of any kind
cd "$(dirname "$0")/.."
. tools/need.sh

need_build g++ g++
need xxd xxd

demo=build/demo
rm -rf "$demo"
mkdir -p "$demo"

echo "== build"
{ cmake --preset release && cmake --build --preset release; } >"$demo/build.txt" 2>&1 ||
  { tail -n 60 "$demo/build.txt"; exit 1; }

echo "== image"
examples/harbour/make_image.sh "$demo/before.bin"
cp "$demo/before.bin" "$demo/harbour.bin"
echo "$demo/harbour.bin: $(stat -c %s "$demo/harbour.bin") bytes"

echo "== run"
line='#boot; #include main.psc; #kapop ../../build/demo/harbour.bin'
echo "cd examples/harbour; ../../build/tidewright \"$line\""
status=0
(cd examples/harbour && ../../build/tidewright --log-folder ../../build/demo/log "$line") \
  >"$demo/session.txt" </dev/null || status=$?
if [ "$status" -ne 0 ]; then
  cat "$demo/session.txt"
  echo "tidewright ended with status $status" >&2
  exit "$status"
fi

# The session tells of every line that it compiles: of a code line the command, and below it the values.
echo
echo "== compiled (the code of the command in hexadecimal, the command, its values; * stands for an alias)"
awk '
  function put(what, text) { gsub(/&h/, "0x", text); printf "    %-4s %s\n", what, text }
  /^#PROCESS: .* for Input$/ { sub(/^#PROCESS: /, ""); sub(/ F:[0-9]+ for Input$/, ""); file = $0 }
  /^#OFFSET: / {
    if (file != shown) print file
    shown = file
    sub(/^#OFFSET: /, "")
    gsub(/&h/, "0x")
    sub(/, /, "   buffer ")
    print "  " $0
  }
  /^[0-9]+: Code Alias$/ { alias = "*" }
  /^[0-9]+: Code Command - / { name = $5; code = sprintf("%2s", substr($6, 2, length($6) - 2)) }
  /^ -> / { sub(/^ -> [0-9]+/, ""); put(code, name alias $0); alias = "" }
  /^[0-9]+: Encoding text: / { sub(/^[0-9]+: Encoding text: /, ""); gsub(/&h/, "#"); put("text", $0) }
  /^[0-9]+: RAW DATA - / { sub(/^[0-9]+: RAW DATA - /, ""); put("raw", $0) }
  /^#INLINE: / { sub(/^#INLINE: /, ""); put("data", $0) }
' "$demo/session.txt"

echo
echo "== labels and their places in the image"
awk '
  /^#OFFSET: / { split(substr($0, 10), part, ", "); buffer[part[1]] = part[2] }
  /^ - Pushed / { place[$3] = $5 }
  END {
    for (name in place) {
      shown = name
      gsub(/&h/, "0x", shown)
      printf "%6s  %-28s%s\n", place[name], shown, name in buffer ? "buffer " buffer[name] : "of the old game"
    }
  }
' "$demo/session.txt" | sort
echo "$(grep -ac '^ - Adjusting ' "$demo/session.txt") pointers were patched."

echo
echo "== bytes: $(cmp -l "$demo/before.bin" "$demo/harbour.bin" | wc -l) changed" \
  "(- before, + after; rows without - were free space, all ff)"
for state in before harbour; do xxd -g 1 "$demo/$state.bin" >"$demo/$state.hex"; done
awk '
  NR == FNR { before[FNR] = $0; next }
  before[FNR] != $0 {
    if (before[FNR] !~ /^[0-9a-f]+:( ff)+  /) print "- " before[FNR]
    print "+ " $0
  }
' "$demo/before.hex" "$demo/harbour.hex"

echo
echo "The whole session: $demo/session.txt; its log: $demo/log"
