#!/usr/bin/env bash
# Installs what it lacks, builds the Windows programs and their tests with MinGW-w64, and runs the unit tests and those of
# the window under Wine, each on a display and in a prefix of their own. The last line is "N passed, N failed".
set -euo pipefail
cd "$(dirname "$0")/.."
. tools/need.sh

need_build x86_64-w64-mingw32-g++-posix g++-mingw-w64-x86-64-posix
need wine wine
need_file /usr/lib/wine/wine64 wine64
need xvfb-run xvfb
need xauth xauth
need xdotool xdotool
need python3 python3
need_file /usr/src/googletest/CMakeLists.txt googletest

echo "== build windows"
cmake --preset windows -DTIDEWRIGHT_TESTS=ON >build-log.txt 2>&1 || { cat build-log.txt; exit 1; }
cmake --build --preset windows >build-log.txt 2>&1 || { tail -n 60 build-log.txt; exit 1; }
rm -f build-log.txt

WINEPREFIX=$(mktemp -d)
export WINEPREFIX WINEDEBUG=-all WINEDLLOVERRIDES='mscoree,mshtml='
end() {
  wineserver -k || true
  rm -rf "$WINEPREFIX"
}
trap end EXIT

echo "== test"
report_file=$WINEPREFIX/report.txt
status=0
# On Wine's own desktop: on a bare display each box would wait for a window manager.
timeout 300 xvfb-run -a bash -e -c '
  desktops="HKCU\Software\Wine\Explorer"
  wine reg add "$desktops" /v Desktop /d tests /f >/dev/null
  wine reg add "$desktops\Desktops" /v tests /d 1024x768 /f >/dev/null
  status=0
  wine build/windows/tests/unit_tests.exe || status=$?
  wineserver -k # the desktop, before its display goes
  exit "$status"
' >"$report_file" 2>&1 || status=$?
report=$(tr -d '\r' <"$report_file")
printf '%s\n' "$report" | grep -v -e '^\[ RUN' -e '^\[       OK' -e '^\[---' -e '^$' || true
total=$(printf '%s\n' "$report" | sed -n 's/^\[==========\] \([0-9]*\) tests\? from .* ran\..*/\1/p')
passed=$(printf '%s\n' "$report" | sed -n 's/^\[  PASSED  \] \([0-9]*\) tests\?\..*/\1/p')
skipped=$(printf '%s\n' "$report" | sed -n 's/^\[  SKIPPED \] \([0-9]*\) tests\?, listed below:.*/\1/p')
if [ -z "$total" ] || [ -z "$passed" ] || [ "$passed" -eq 0 ]; then
  echo "the tests did not run to their end (status $status)"
  echo "${passed:-0} passed, 1 failed"
  exit 1
fi
failed=$((total - passed - ${skipped:-0}))

echo "== test the window"
window=$(timeout 600 python3 tests/window/window.py build/windows/tidewright.exe build/windows/tests/probe.exe 2>&1) ||
  status=$?
printf '%s\n' "$window"
ran=$(printf '%s\n' "$window" | sed -n 's/^Ran \([0-9]*\) tests\? in .*/\1/p')
if [ -z "$ran" ]; then
  echo "the window's tests did not run to their end"
  echo "$passed passed, $((failed + 1)) failed"
  exit 1
fi
lost=$(printf '%s\n' "$window" | grep -c -e '^FAIL: ' -e '^ERROR: ' || true)
echo "$((passed + ran - lost)) passed, $((failed + lost)) failed"
[ "$status" -eq 0 ] && [ "$((failed + lost))" -eq 0 ]
