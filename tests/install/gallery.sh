#!/bin/sh
# docs/gallery.md shows every picture that tools/demo draws, and as it is drawn today.
#
#   sh gallery.sh SOURCE BUILD GALLERY SVG
set -eu
cd "$1"
"$3" --half --check docs/gallery
for file in examples/svg/pictures/*.svg; do
  "$4" --size=320x "$file" - | cmp - "docs/gallery/$(basename "$file" .svg).png"
done
find docs/gallery -name '*.png' | sed 's|docs/||' | sort >"$2/gallery-pictures.txt"
grep -o '(gallery/[a-z-]*\.png)' docs/gallery.md | tr -d '()' | sort | diff "$2/gallery-pictures.txt" -
