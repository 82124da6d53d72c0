#!/usr/bin/env bash
# Installs what the benchmarks lack, builds the program and them, and prints their figures: the stations of a line's
# road one by one, then the whole program on 120,000 lines, there and back, each figure beside its peer or its floor (the
# GNU assembler, linker and objcopy; cat) and beside its aim.
# With --job only the second; further arguments go to bench/figures.py. No figure makes this fail; unequal images do.
set -euo pipefail
cd "$(dirname "$0")/.."
. tools/need.sh

job_only=no
if [ "${1:-}" = --job ]; then
  job_only=yes
  shift
fi

need_build g++ g++
need as binutils
need python3 python3
need_file /usr/bin/time time

# build FOLDER TARGET OPTION...: quietly, but for what fails.
build() {
  local folder=$1 target=$2
  shift 2
  mkdir -p "$folder"
  { cmake --preset release -B "$folder" "$@" && cmake --build "$folder" --target "$target"; } \
    >"$folder/bench-build.txt" 2>&1 || { tail -n 60 "$folder/bench-build.txt"; exit 1; }
}

echo "== build"
build build tidewright
if [ "$job_only" = no ]; then
  need_file /usr/include/benchmark/benchmark.h libbenchmark-dev
  build build/bench benchmarks -DTIDEWRIGHT_BENCH=ON
  echo "== stations (encoding to decoding: 2000 lines; burning: 100 labels)"
  build/bench/bench/benchmarks --benchmark_min_time=0.2 2>build/bench/context.txt
fi

echo "== whole job"
python3 bench/figures.py --program build/tidewright --folder build/bench/job "$@"

if [ "$job_only" = no ]; then
  echo "== window"
  need x86_64-w64-mingw32-g++-posix g++-mingw-w64-x86-64-posix
  need wine wine
  need_file /usr/lib/wine/wine64 wine64
  need xvfb-run xvfb
  need xauth xauth
  mkdir -p build/windows
  { cmake --preset windows && cmake --build --preset windows --target tidewright tidewrightc; } \
    >build/windows/bench-build.txt 2>&1 || { tail -n 60 build/windows/bench-build.txt; exit 1; }
  xvfb-run -a python3 bench/window.py --programs build/windows --job build/bench/job/120000
fi
