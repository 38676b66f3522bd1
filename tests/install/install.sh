#!/bin/sh
# Installs the build into a tree of its own, moves that, and builds and runs examples/hello against it:
# through CMake and through pkg-config. Then the same with an archive in place of the shared object.
#
#   sh install.sh SOURCE BUILD CXX CMAKE GENERATOR
set -eux
source=$1 build=$2 cxx=$3 cmake=$4 generator=$5
work=$build/install-test
rm -rf "$work"

# build_hello TREE NAME [PKG-CONFIG OPTION]: two programs, which must draw the same.
build_hello() {
  lib=$(dirname "$(find "$1" -name 'libKalvora.*' | head -n 1)")
  "$cmake" -G "$generator" -S "$source/examples/hello" -B "$work/$2-cmake" \
    -DCMAKE_PREFIX_PATH="$1" -DCMAKE_CXX_COMPILER="$cxx"
  "$cmake" --build "$work/$2-cmake"
  (cd "$work/$2-cmake" && ./hello)

  export PKG_CONFIG_PATH="$lib/pkgconfig"
  mkdir -p "$work/$2-pkgconfig"
  # shellcheck disable=SC2046 # a list of words
  (cd "$work/$2-pkgconfig" &&
    "$cxx" -std=c++20 "$source/examples/hello/hello.cpp" $(pkg-config $3 --cflags --libs kalvora) -o hello &&
    LD_LIBRARY_PATH=$lib ./hello)
  cmp "$work/$2-cmake/hello.ppm" "$work/$2-pkgconfig/hello.ppm"
}

# build_kits TREE NAME [PKG-CONFIG OPTION]: a program on the kits, where they were built.
build_kits() {
  lib=$(dirname "$(find "$1" -name 'libKalvora.*' | head -n 1)")
  [ -e "$lib/pkgconfig/kalvora-typeset.pc" ] || return 0
  font=/usr/share/fonts/truetype/dejavu/DejaVuSans.ttf
  "$cmake" -G "$generator" -S "$source/tests/install/kits" -B "$work/$2-kits" \
    -DCMAKE_PREFIX_PATH="$1" -DCMAKE_CXX_COMPILER="$cxx"
  "$cmake" --build "$work/$2-kits"
  export PKG_CONFIG_PATH="$lib/pkgconfig"
  # shellcheck disable=SC2046 # a list of words
  "$cxx" -std=c++20 "$source/tests/install/kits/main.cpp" $(pkg-config $3 --cflags --libs kalvora-typeset) \
    -o "$work/$2-kits/main-pkgconfig"
  test "$("$work/$2-kits/main" $font)" = "$(LD_LIBRARY_PATH=$lib "$work/$2-kits/main-pkgconfig" $font)"
}

"$cmake" --install "$build" --prefix "$work/first" >/dev/null
mv "$work/first" "$work/tree"
test -L "$(find "$work/tree" -name libKalvora.so)"
build_hello "$work/tree" shared ""
build_kits "$work/tree" shared ""

"$cmake" -G "$generator" -S "$source" -B "$work/archive" -DBUILD_SHARED_LIBS=OFF -DCMAKE_BUILD_TYPE=Debug \
  -DCMAKE_CXX_COMPILER="$cxx" -DKALVORA_BUILD_EXAMPLES=OFF -DKALVORA_BUILD_TOOLS=OFF \
  -DKALVORA_BUILD_TESTS=OFF -DKALVORA_BUILD_BENCH=OFF
"$cmake" --build "$work/archive"
"$cmake" --install "$work/archive" --prefix "$work/static" >/dev/null
build_hello "$work/static" static --static
build_kits "$work/static" static --static
cmp "$work/shared-cmake/hello.ppm" "$work/static-cmake/hello.ppm"
if ldd "$work/static-cmake/hello" | grep libKalvora; then exit 1; fi

# A picture with the background, the star, and something between.
cd "$work/shared-cmake"
test "$(wc -c <hello.ppm)" = 120015
test "$(tail -c 120000 hello.ppm | od -An -v -tx1 -w3 | sort | uniq -c | wc -l)" -gt 10
tail -c 120000 hello.ppm | od -An -v -tx1 -w3 | grep -q 'ff 90 00'

# An older C++ is refused in one clear line.
! "$cxx" -std=c++17 -fsyntax-only -I"$work/tree/include" -include kalvora/kalvora.h -x c++ /dev/null 2>complaint
test "$(grep -c 'error:' complaint)" = 1
grep 'error: .*Kalvora needs C++20: compile with -std=c++20' complaint
