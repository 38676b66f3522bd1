#!/bin/sh
# Each installed header compiles alone, without warnings, and brings no header of FreeType, the
# framebuffer or HarfBuzz along.
#
#   sh headers.sh SOURCE BUILD CXX CMAKE
set -eu
include=$2/install-test/tree/include cxx=$3
cd "$include"
count=0
for header in $(find kalvora -name '*.h' | sort); do
  "$cxx" -std=c++20 -x c++ -I. -Wall -Wextra -Wshadow -Wconversion -Wno-sign-conversion \
    -Werror -fsyntax-only -fno-exceptions -fno-rtti "$header"
  if "$cxx" -std=c++20 -x c++ -I. -M "$header" | grep -E 'ft2build|freetype|linux/fb\.h|/hb'; then
    echo "$header exposes a header of another library"
    exit 1
  fi
  count=$((count + 1))
done
echo "$count headers stand alone"
test "$count" -gt 10
