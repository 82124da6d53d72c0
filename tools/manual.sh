#!/usr/bin/env bash
# Makes the HTML pages of the manual: README.md, docs/ and the example's page become one folder, build/manual or the one
# that is named. With --write it first builds what prints the blocks that are made from the program's tables (the
# directives and options in the manual and in the editors' files), and puts those in.
set -euo pipefail
cd "$(dirname "$0")/.."
. tools/need.sh

if [ "${1:-}" = --write ]; then
  shift
  need_build g++ g++
  need python3 python3
  cmake --preset release >/dev/null
  cmake --build --preset release --target pages >/dev/null
  python3 tools/pages.py build/src/pages --write
fi
need pandoc pandoc

target=${1:-build/manual}
rm -rf "$target"
mkdir -p "$target"

# page SOURCE NAME: one page. A script's name, behind the mark of its block, is set above it.
page() {
  sed -E 's|^```psc (.+)$|<p class="file">\1</p>\n\n```psc|' "$1" |
    pandoc --from gfm --to html5 --no-highlight --template tools/manual/page.html --lua-filter tools/manual/links.lua \
      --metadata folder="$(dirname "$1")" --output "$target/$2.html"
}

page docs/README.md index
page README.md start
page examples/harbour/README.md harbour
for source in docs/*.md; do
  [ "$source" = docs/README.md ] || page "$source" "$(basename "$source" .md)"
done
cp tools/manual/style.css docs/*.png "$target"
