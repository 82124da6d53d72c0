#!/usr/bin/env bash
# Checks the formatting of every source, and with cppcheck and clang-tidy every source of the program that this machine
# builds. Takes some minutes. (tools/valgrind.sh runs the program under valgrind.)
set -euo pipefail
cd "$(dirname "$0")/.."
. tools/need.sh
need clang-format clang-format
need clang-tidy clang-tidy
need cppcheck cppcheck
need_build clang++ clang

git ls-files -z '*.cpp' '*.h' | xargs -0 clang-format --dry-run -Werror
cmake --preset dev >/dev/null
built() { git ls-files -z 'src/*.cpp' ':!src/platform/win32' ':!src/shell/window_main.cpp'; }
# Suppressed: "text or nothing" of a table of string_views is taken for a text that ends with its function.
built | xargs -0 cppcheck --quiet --error-exitcode=1 --std=c++20 --language=c++ -Isrc -Ibuild/dev/generated \
  --enable=warning,performance,portability --suppress=missingIncludeSystem \
  --suppress=returnDanglingLifetime:src/script/smart_num.cpp
built | xargs -0 -n 4 -P "$(nproc)" clang-tidy -p build/dev --quiet
echo "clean"
