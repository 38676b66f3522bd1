#!/bin/sh
# The layer check passes on the library, and fails on a tree that breaks each of its rules.
#
#   sh layers.sh SOURCE BUILD
set -eu
check=$1/tools/check-layers work=$2/layers-test
"$check"

# refuses FOLDER INCLUDE
refuses() {
  rm -rf "$work"
  mkdir -p "$work/kalvora/$1"
  echo "#include $2" >"$work/kalvora/$1/x.cpp"
  if "$check" "$work/kalvora"; then
    echo "$1 may include $2?"
    exit 1
  fi
}
refuses core '"kalvora/raster/ring.h"'
refuses core '<kalvora/raster/ring.h>'
refuses paint '"kalvora/geometry/KSoftPath.h"'
refuses geometry '"kalvora/paint/KStrips.h"'
refuses text '"kalvora/paint/KStrips.h"'
refuses display '"kalvora/raster/ring.h"'
refuses text '"kalvora/context/KSoftContext2D.h"'
refuses core '"KFixed.h"'
refuses core '"kalvora/kalvora.h"'
refuses attic '"kalvora/export.h"'

# A kit knows the public headers, itself, and no other kit.
kit() {
  rm -rf "$work"
  mkdir -p "$work/$(dirname "$1")"
  echo "#include $2" >"$work/$1"
  "$check" kalvora "$work"
}
kit letters/x.cpp '"kalvora/core/KFixed.h"'
kit letters/x.cpp '"kits/letters/y.h"'
kit letters/include/kalvora/letters/x.h '"kalvora/letters/y.h"'
for case in 'letters/x.cpp "kalvora/raster/ring.h"' 'letters/x.cpp <kalvora/raster/ring.h>' \
  'letters/x.cpp "kits/numbers/y.h"' 'letters/x.cpp "y.h"' \
  'letters/include/kalvora/letters/x.h "kits/letters/y.h"'; do
  if kit "${case%% *}" "${case#* }"; then
    echo "$case?"
    exit 1
  fi
done
