#!/usr/bin/env bash
# Runs the tour of examples/harbour under valgrind: compiling, burning, a buffer file, and both ways back. Ends with
# "clean", or with what valgrind has found. Takes a minute or two.
set -euo pipefail
cd "$(dirname "$0")/.."
. tools/need.sh
need_build g++ g++
need valgrind valgrind

# Not the program as it is shipped: that has its libraries inside, where valgrind cannot watch their memory.
{ cmake -S . -B build/valgrind -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DCMAKE_CXX_COMPILER=g++ &&
  cmake --build build/valgrind --target tidewright; } >build/valgrind.txt 2>&1 || { tail -n 60 build/valgrind.txt; exit 1; }

program=$PWD/build/valgrind/tidewright
tour=build/valgrind/tour
rm -rf "$tour"
cp -r examples/harbour "$tour"
cd "$tour"
./make_image.sh harbour.bin >/dev/null
for line in "#boot; #include main.psc; #kapop harbour.bin" "#boot; #include main.psc; #kapoke all.buf; #decode all.buf" \
  "#boot; #rawdecode harbour.bin 0x0280 3; #encode harbour280.psc" "#boot; #include nowhere.psc; sya 1; #orgg x"; do
  echo "$line"
  status=0
  valgrind --quiet --error-exitcode=99 --leak-check=full --log-file=valgrind.txt \
    "$program" -q --log-folder log "$line" >/dev/null 2>&1 </dev/null || status=$?
  if [ "$status" -gt 1 ] || [ -s valgrind.txt ]; then
    cat valgrind.txt
    exit 1
  fi
done
echo "clean"
