#!/bin/sh
# The shared object exports the classes and functions that public headers mark with KALVORA_API, and
# nothing else.
#
#   sh symbols.sh SOURCE BUILD NM LIBRARY [HEADERS LEAST]    HEADERS: a folder in SOURCE, without it kalvora;
#                                                           LEAST: so many names there are at least
set -eu
source=$1 build=$2 nm=$3 library=$4 headers=${5:-kalvora} least=${6:-20}
marked=$build/marked-$(basename "$headers").txt exported=$build/exported-$(basename "$headers").txt

# "class KALVORA_API Name {" and "KALVORA_API [static] type [Class::]name(...)"; a marked member of
# an unmarked class exports that class's name.
grep -rh --include='*.h' -B30 KALVORA_API "$source/$headers" |
  awk '/^(class|struct) [A-Za-z0-9]+ /    { outer = $2 }
       /^(class|struct) KALVORA_API /     { print $3; next }
       /^  KALVORA_API .*\(/              { print outer; next }
       /^KALVORA_API .*\(/                { sub(/\(.*/, ""); print $NF }' |
  sort -u >"$marked"

"$nm" -D -C --defined-only "$library" | sed -E 's/^[0-9a-f]+ . //; s/^(vtable|typeinfo|typeinfo name) for //
    s/[(:].*//' | sort -u >"$exported"

diff "$marked" "$exported"
test "$(wc -l <"$exported")" -ge "$least"
