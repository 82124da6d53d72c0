#!/usr/bin/env bash
# Installs what the tests lack, builds the program and the tests, and runs everything through CTest; then each fuzz target
# for ten seconds; then the Windows program and its tests in the same way, under Wine. The last line is "N passed, N failed".
set -euo pipefail
cd "$(dirname "$0")/.."
. tools/need.sh

need_build g++ g++
need clang++ clang
need as binutils
need 64tass 64tass
need python3 python3
need xxd xxd
need pandoc pandoc
need_file '/usr/lib/llvm-*/lib/clang/*/lib/linux/libclang_rt.asan-*.a' 'libclang-rt-dev'
need_file '/usr/include/gtest/gtest.h' libgtest-dev

for preset in release dev; do
  echo "== build $preset"
  cmake --preset "$preset" >build-log.txt 2>&1 || { cat build-log.txt; exit 1; }
  cmake --build --preset "$preset" >build-log.txt 2>&1 || { tail -n 60 build-log.txt; exit 1; }
  rm -f build-log.txt
done

echo "== test"
status=0
report=$(ctest --test-dir build/dev --output-on-failure --parallel "$(nproc)" 2>&1) || status=$?
printf '%s\n' "$report"
failed=$(printf '%s\n' "$report" | sed -n 's/.*tests passed, \([0-9]*\) tests failed out of [0-9]*.*/\1/p' | tail -n 1)
total=$(printf '%s\n' "$report" | sed -n 's/.*tests passed, [0-9]* tests failed out of \([0-9]*\).*/\1/p' | tail -n 1)
if [ -z "$total" ] || [ "$total" -eq 0 ]; then
  echo "no test ran"
  echo "0 passed, 1 failed"
  exit 1
fi

passed=$((total - failed))

# add_up TOOL...: runs it, and adds what its last line counts.
add_up() {
  local more_passed=0 more_failed=1
  report=$("$@" 2>&1) || status=$?
  printf '%s\n' "$report"
  read -r more_passed more_failed < <(printf '%s\n' "$report" | tail -n 1 |
    sed -n 's/^\([0-9]*\) passed, \([0-9]*\) failed$/\1 \2/p') || { more_passed=0 && more_failed=1; }
  passed=$((passed + more_passed))
  failed=$((failed + more_failed))
}
add_up tools/fuzz.sh 10
add_up tools/test-windows.sh
echo "$passed passed, $failed failed"
[ "$status" -eq 0 ] && [ "$failed" -eq 0 ]
