#!/usr/bin/env bash
# Checks the formatting of every source, and with clang-tidy every source of the program that this machine builds. Takes
# some minutes.
set -euo pipefail
cd "$(dirname "$0")/.."
. tools/need.sh
need clang-format clang-format
need clang-tidy clang-tidy
need cmake cmake
need ninja ninja-build
need clang++ clang

git ls-files -z '*.cpp' '*.h' | xargs -0 clang-format --dry-run -Werror
cmake --preset dev >/dev/null
git ls-files -z 'src/*.cpp' ':!src/platform/win32' ':!src/shell/window_main.cpp' | xargs -0 -n 4 -P "$(nproc)" clang-tidy -p build/dev --quiet
echo "clean"
