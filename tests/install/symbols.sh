#!/bin/sh
# The shared object exports the classes and functions that public headers mark with KALVORA_API, and
# nothing else.
#
#   sh symbols.sh SOURCE BUILD NM LIBRARY
set -eu
source=$1 build=$2 nm=$3 library=$4

# "class KALVORA_API Name {" and "KALVORA_API [static] type [Class::]name(...)"; a marked member of
# an unmarked class exports that class's name.
grep -rh --include='*.h' -B30 KALVORA_API "$source/kalvora" |
  awk '/^(class|struct) [A-Za-z0-9]+ /    { outer = $2 }
       /^(class|struct) KALVORA_API /     { print $3; next }
       /^  KALVORA_API .*\(/              { print outer; next }
       /^KALVORA_API .*\(/                { sub(/\(.*/, ""); print $NF }' |
  sort -u >"$build/marked.txt"

"$nm" -D -C --defined-only "$library" | sed -E 's/^[0-9a-f]+ . //; s/^(vtable|typeinfo|typeinfo name) for //
    s/[(:].*//' | sort -u >"$build/exported.txt"

diff "$build/marked.txt" "$build/exported.txt"
test "$(wc -l <"$build/exported.txt")" -gt 20
