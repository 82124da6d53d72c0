#!/usr/bin/env bash
# Fuzzes: tools/fuzz.sh [SECONDS] [TARGET...] runs each target (all of them) for so long (900), as many at a time as there
# are cores, and prints what each did in one line. An input that crashes, hangs or breaks a promise is kept in
# build/fuzz/found/TARGET. The corpora grow in build/fuzz/corpus from run to run. The last line is "N passed, N failed".
set -euo pipefail
cd "$(dirname "$0")/.."
. tools/need.sh
need_build g++ g++
need clang++ clang
need python3 python3
need_file '/usr/lib/llvm-*/lib/clang/*/lib/linux/libclang_rt.fuzzer-*.a' libclang-rt-dev

seconds=900
if [[ ${1:-} =~ ^[0-9]+$ ]]; then
  seconds=$1
  shift
fi
targets=("$@")
[ ${#targets[@]} -gt 0 ] || targets=(line_intake buffer_file database decoder text_table)

mkdir -p build/fuzz
for preset in release fuzz; do
  { cmake --preset "$preset" && cmake --build --preset "$preset"; } >build/fuzz/build.log 2>&1 || { tail -n 60 build/fuzz/build.log; exit 1; }
done
python3 tests/fuzz/corpus.py build/tidewright build/fuzz/corpus

# fuzz TARGET: one line, "TARGET: N executions", and behind it what was found.
fuzz() {
  local found=build/fuzz/found/$1 log=build/fuzz/$1.log executions
  mkdir -p "$found"
  if ASAN_OPTIONS=malloc_context_size=4 nice -n 10 "build/fuzz/fuzz_$1" -max_total_time="$seconds" -max_len=4096 -timeout=10 \
    -rss_limit_mb=1024 -entropic=0 -print_final_stats=1 -dict=build/fuzz/corpus/words.dict -artifact_prefix="$found/" \
    "build/fuzz/corpus/$1" >"$log" 2>&1; then
    found=""
  else
    found=", found $(grep -a -o "$found/.*" "$log" || echo "something: see $log")"
  fi
  executions=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log")
  echo "$1: ${executions:-no} executions$found"
}
export seconds
export -f fuzz
report=$(printf '%s\n' "${targets[@]}" | xargs -P "$(nproc)" -I{} bash -c 'fuzz "$@"' _ {} | tee /dev/stderr)
failed=$(printf '%s\n' "$report" | grep -c 'found' || true)
echo "$((${#targets[@]} - failed)) passed, $failed failed"
[ "$failed" -eq 0 ]
