#!/bin/sh
# The programs in README.md are those in examples/, line by line.
#
#   sh readme.sh SOURCE BUILD
set -eu
cd "$1"
awk '/^```/ { inside = $0 == "```cpp"; next } inside' README.md >"$2/readme.cpp"
cat examples/hello/hello.cpp examples/bounce/bounce.cpp | diff "$2/readme.cpp" -
