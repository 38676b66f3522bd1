#!/bin/sh
# The program in README.md is examples/hello/hello.cpp, line by line.
#
#   sh readme.sh SOURCE
set -eu
cd "$1"
awk '/^```/ { inside = $0 == "```cpp"; next } inside' README.md | diff - examples/hello/hello.cpp
