#!/usr/bin/env bash
# Installs what it lacks, builds the program for Linux and the programs for Windows, and makes the packages of both in
# build/packages. Then unpacks each package and burns the example with what is in it. Ends with a table of what was made
# and tried, or at the first fault.
set -euo pipefail
cd "$(dirname "$0")/.."
. tools/need.sh

need_build g++ g++
need x86_64-w64-mingw32-g++-posix g++-mingw-w64-x86-64-posix
need dpkg-deb dpkg
need groff groff-base
need gzip gzip

readonly largest_window=3000000 # bytes
readonly system_libraries='advapi32|comctl32|comdlg32|gdi32|kernel32|msvcrt|ole32|shell32|user32|uxtheme'
readonly line='#boot; #include main.psc; #kapop harbour.bin'

fail() {
  echo "$*" >&2
  exit 1
}

# quietly COMMAND...: its output only when it fails.
quietly() {
  "$@" >"$work/output.txt" 2>&1 || { tail -n 60 "$work/output.txt" >&2; fail "failed: $*"; }
}

work=$(mktemp -d)
end() {
  [ ! -d "$work/wine" ] || WINEPREFIX=$work/wine wineserver -k || true
  chmod -R u+w "$work"
  rm -rf "$work"
}
trap end EXIT
chmod 755 "$work"
packages=$PWD/build/packages
rm -rf "$packages"

for preset in release windows; do
  echo "== build $preset"
  targets=(tidewright)
  if [ "$preset" = release ]; then targets+=(man_page); else targets+=(tidewrightc); fi
  quietly cmake --preset "$preset"
  quietly cmake --build --preset "$preset" --target "${targets[@]}"
done

echo "== manual"
quietly tools/manual.sh

echo "== package"
for folder in build build/windows; do quietly cpack --config "$folder/CPackConfig.cmake"; done
rm -rf "$packages/_CPack_Packages"
version=$(build/tidewright --version | cut -d ' ' -f 2)
windows=$packages/tidewright-$version-windows.zip
archive=$packages/tidewright-$version-linux-x86_64.tar.gz
deb=$packages/tidewright_${version}_amd64.deb

echo "== try"

# What the program that was built makes of the example, each package has to make of it, too.
mkdir "$work/wanted"
cp -r examples/harbour/. "$work/wanted"
(cd "$work/wanted" && ./make_image.sh harbour.bin)
cp "$work/wanted/harbour.bin" "$work/before.bin"
program=$PWD/build/tidewright
(cd "$work/wanted" && quietly "$program" --log-folder "$work/wanted/log" "$line")
! cmp -s "$work/wanted/harbour.bin" "$work/before.bin" || fail "the example changes nothing"

# contents FOLDER NAME...: each must be there.
contents() {
  local folder=$1 name
  shift
  for name in "$@"; do [ -e "$folder/$name" ] || fail "$folder has no $name"; done
}

# burn FOLDER COMMAND...: runs the example's line in a copy of the example in FOLDER, and compares the image.
burn() {
  local place
  place=$(mktemp -d "$work/burn.XXXX")
  cp -r "$1/." "$place"
  cp "$work/before.bin" "$place/harbour.bin"
  chmod -R a+rwX "$place"
  shift
  (cd "$place" && quietly "$@" "$line")
  cmp "$place/harbour.bin" "$work/wanted/harbour.bin" || fail "another image than wanted: $*"
}

# logs FOLDER: how many session logs are in it.
logs() {
  find "$1" -name '*tidewright*.log' -size +0 2>/dev/null | wc -l
}

# The archive: unpacked anywhere, it keeps its log beside itself.
mkdir "$work/archive"
(cd "$work/archive" && cmake -E tar xf "$archive")
unpacked=$work/archive/tidewright-$version-linux-x86_64
contents "$unpacked" tidewright base/includes.psh examples/harbour/main.psc README.md docs/language.md LICENSE \
  manual/index.html editors/tidewright.bash
[ "$("$unpacked/tidewright" --version)" = "tidewright $version" ] || fail "$archive holds another version"
burn "$unpacked/examples/harbour" "$unpacked/tidewright"
[ "$(logs "$unpacked/log")" -eq 1 ] || fail "$archive: no session log beside the program"
archive_tried="example burned; log beside the program"

# The Debian package: started through its link by somebody who may not write there.
mkdir "$work/deb" "$work/state"
dpkg-deb -x "$deb" "$work/deb"
chmod -R a-w,a+rX "$work/deb"
chmod 777 "$work/state"
anybody=()
[ "$(id -u)" -ne 0 ] || anybody=(setpriv --reuid 65534 --regid 65534 --clear-groups)
manual=$work/deb/usr/share/doc/tidewright
contents "$manual" README.md docs/language.md copyright manual/index.html editors/vim
contents "$work/deb/usr/share" man/man1/tidewright.1.gz bash-completion/completions/tidewright
warnings=$(zcat "$work/deb/usr/share/man/man1/tidewright.1.gz" | groff -man -Tutf8 -ww -z 2>&1)
[ -z "$warnings" ] || fail "the man page: $warnings"
[ "$(readlink "$work/deb/usr/bin/tidewright")" = ../lib/tidewright/tidewright ] || fail "$deb: the link is wrong"
burn "$manual/examples/harbour" "${anybody[@]}" env XDG_STATE_HOME="$work/state/new" "$work/deb/usr/bin/tidewright"
[ "$(logs "$work/state/new/tidewright/log")" -eq 1 ] || fail "$deb: no session log in the state folder"
mkdir "$work/empty"
(cd "$work/empty" && quietly "${anybody[@]}" env XDG_STATE_HOME="$work/state/base" "$work/deb/usr/bin/tidewright" '#boot')
deb_tried="example burned as another user; base found; log in the state folder"

# The Windows programs: one file each, and nothing beside it but what the system has.
mkdir "$work/windows"
(cd "$work/windows" && cmake -E tar xf "$windows")
unpacked=$work/windows/tidewright-$version-windows
contents "$unpacked" tidewright.exe tidewrightc.exe base/includes.psh examples/harbour/main.psc README.md docs/language.md \
  LICENSE manual/index.html manual/window.png editors/vscode/package.json
cmp "$unpacked/examples/harbour/harbour.bin" "$work/before.bin" || fail "$windows: another image than the example's"
for name in tidewright tidewrightc; do
  libraries=$(x86_64-w64-mingw32-objdump -p "$unpacked/$name.exe" | sed -n 's/^[[:space:]]*DLL Name: //p')
  [ -n "$libraries" ] || fail "$name.exe: no libraries were found"
  foreign=$(grep -viE "^($system_libraries)\.dll$" <<<"$libraries" || true)
  [ -z "$foreign" ] || fail "$name.exe wants $foreign"
done
window_size=$(stat -c %s "$unpacked/tidewright.exe")
[ "$window_size" -lt "$largest_window" ] || fail "tidewright.exe has $window_size bytes"
windows_tried="tidewright.exe $window_size bytes; system libraries only"
if command -v wine >/dev/null 2>&1; then
  export WINEPREFIX=$work/wine WINEDEBUG=-all WINEDLLOVERRIDES='mscoree,mshtml='
  (unset DISPLAY && quietly timeout 120 wine wineboot --init)
  burn "$unpacked/examples/harbour" timeout 120 wine "$unpacked/tidewrightc.exe"
  [ "$(logs "$unpacked/log")" -eq 1 ] || fail "$windows: no session log beside the program"
  rm -r "$unpacked/log"
  touch "$unpacked/log" # no folder can be made there now
  burn "$unpacked/examples/harbour" timeout 120 wine "$unpacked/tidewrightc.exe"
  [ "$(logs "$WINEPREFIX/drive_c/users/$(id -un)/AppData/Local/Tidewright/log")" -eq 1 ] ||
    fail "$windows: no session log in the user's folder"
  windows_tried+="; example burned by tidewrightc.exe under Wine; log beside the program, or in the user's folder"
else
  windows_tried+="; NOT RUN, there is no Wine here"
fi

echo
printf '%-40s %9s  %s\n' package bytes tried
row() { printf '%-40s %9d  %s\n' "${1##*/}" "$(stat -c %s "$1")" "$2"; }
row "$windows" "$windows_tried"
row "$archive" "$archive_tried"
row "$deb" "$deb_tried"
