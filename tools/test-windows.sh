#!/usr/bin/env bash
# Installs what it lacks, builds the Windows programs and their unit tests with MinGW-w64, and runs the tests under
# Wine, on a display and in a prefix of their own. The last line is "N passed, N failed".
set -euo pipefail
cd "$(dirname "$0")/.."
. tools/need.sh

need cmake cmake
need ninja ninja-build
need x86_64-w64-mingw32-g++-posix g++-mingw-w64-x86-64-posix
need wine wine
need wine64 wine64
need xvfb-run xvfb
need xauth xauth
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
echo "$passed passed, $failed failed"
[ "$status" -eq 0 ] && [ "$failed" -eq 0 ]
