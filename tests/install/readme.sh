#!/bin/sh
# The programs in README.md are those in examples/, line by line; the pieces of code in docs/ compile
# inside a function that has a context.
#
#   sh readme.sh SOURCE BUILD COMPILER
set -eu
cd "$1"
awk '/^```/ { inside = $0 == "```cpp"; next } inside' README.md >"$2/readme.cpp"
cat examples/hello/hello.cpp examples/bounce/bounce.cpp | diff "$2/readme.cpp" -

for page in $(grep -l '^```cpp' docs/*.md); do
  awk '
    /^```/ { if (inside) body = body "}\n"; inside = $0 == "```cpp"; if (inside) body = body "{\n"; next }
    inside && /^#include/ { print; next }
    inside { body = body $0 "\n" }
    END {
      print "#include \"kalvora/kalvora.h\"\nint Sample(KSoftContext2D& context);"
      print "int Sample(KSoftContext2D& context) {\n" body "return 0;\n}"
    }' "$page" >"$2/sample.cpp"
  "$3" -std=c++20 -Wall -Wextra -Werror -fsyntax-only -I. -Ikits/typeset/include "$2/sample.cpp" ||
    { echo "$page: a piece of code does not compile"; exit 1; }
done
