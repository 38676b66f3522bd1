#!/bin/sh
# The objects of the vector widths hold no symbol that the linker could merge with another object's:
# it might keep the copy that older processors cannot run. Each exports its table of loops, or its
# form of halving, no more.
#
#   sh widths.sh NM OBJECT...
set -eu
nm=$1 tables=0
allowed='^([RD] kalvora::[a-z0-9]+::kLoops|W int kalvora::vectors::FlattenCurve<[23]>\(.*)$'
shift
for object; do
  case $object in
  */paint/loops/plain.* | */paint/loops/sse2.* | */paint/loops/avx2.* | */paint/loops/neon.* | \
    */geometry/halving/vectors.*) ;;
  *) continue ;;
  esac
  # Every i386 compilation makes the same few instructions that read its own address.
  exported=$("$nm" -C --defined-only --extern-only "$object" |
    sed 's/^[0-9a-f]* //; / __x86\.get_pc_thunk\./d')
  test -n "$exported" || continue # not this processor's
  if [ "$(echo "$exported" | grep -cvE "$allowed")" -ne 0 ]; then
    echo "$object exports: $exported"
    exit 1
  fi
  tables=$((tables + 1))
done
echo "$tables widths"
test "$tables" -ge 1
