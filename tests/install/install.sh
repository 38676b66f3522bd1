#!/bin/sh
# Installs the build into a tree of its own, moves that, and builds and runs examples/hello against
# it: through CMake and through pkg-config.
#
#   sh install.sh SOURCE BUILD CXX CMAKE GENERATOR
set -eux
source=$1 build=$2 cxx=$3 cmake=$4 generator=$5
work=$build/install-test
rm -rf "$work"
mkdir -p "$work/cmake" "$work/pkgconfig"

"$cmake" --install "$build" --prefix "$work/first" >/dev/null
mv "$work/first" "$work/tree"
lib=$(dirname "$(find "$work/tree" -name libKalvora.so)")
test -L "$lib/libKalvora.so"

"$cmake" -G "$generator" -S "$source/examples/hello" -B "$work/cmake" \
  -DCMAKE_PREFIX_PATH="$work/tree" -DCMAKE_CXX_COMPILER="$cxx"
"$cmake" --build "$work/cmake"
(cd "$work/cmake" && ./hello)

export PKG_CONFIG_PATH="$lib/pkgconfig"
cd "$work/pkgconfig"
# shellcheck disable=SC2046 # a list of words
"$cxx" -std=c++20 "$source/examples/hello/hello.cpp" $(pkg-config --cflags --libs kalvora) -o hello
LD_LIBRARY_PATH=$lib ./hello

# A picture with the background, the star, and something between.
cmp "$work/cmake/hello.ppm" hello.ppm
test "$(wc -c <hello.ppm)" = 120015
test "$(tail -c 120000 hello.ppm | od -An -v -tx1 -w3 | sort | uniq -c | wc -l)" -gt 10
tail -c 120000 hello.ppm | od -An -v -tx1 -w3 | grep -q 'ff 90 00'
