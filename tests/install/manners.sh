#!/bin/sh
# The manners of the programs: --help, --version, exit statuses, and a sentence for what goes wrong.
#
#   sh manners.sh SOURCE BUILD PROGRAM...
set -eu
source=$1 work=$2/manners-test
shift 2
rm -rf "$work"
mkdir -p "$work/folder"
cd "$work"
failures=0
fail() {
  echo "$*"
  cat said
  failures=$((failures + 1))
}

# expect STATUS WORDS PROGRAM ARGUMENT...: it ends so, and says that on standard error in one line of its own.
expect() {
  wanted=$1 words=$2 program=$3 name=$(basename "$3")
  shift 3
  status=0
  "$program" "$@" >shown 2>said </dev/null || status=$?
  [ "$status" = "$wanted" ] || fail "$name $*: status $status, not $wanted"
  [ "$status" = 0 ] || [ "$(tail -n 1 said | cut -d: -f1)" = "$name" ] || fail "$name $*: who says that?"
  [ "$status" != 2 ] || [ "$(wc -l <said)" = 1 ] || fail "$name $*: more than a line"
  [ -z "$words" ] || grep -qF -e "$words" said || fail "$name $*: not a word of '$words'"
}

for program; do
  name=$(basename "$program")
  eval "$(echo "$name" | tr -d -)=\$program"
  for option in --help --version; do
    "$program" $option >shown 2>said || fail "$name $option: status $?"
    [ ! -s said ] && grep -q "$name" shown || fail "$name $option"
    [ $option = --help ] || grep -qx "$name [0-9]*\.[0-9]*\.[0-9]*" shown || fail "$name $option"
    [ $option = --version ] || cp shown help
    ! "$program" $option >/dev/full 2>said || fail "$name $option to a full disc"
    grep -q "standard output: No space left" said || fail "$name $option to a full disc"
  done
  expect 2 "unknown option --what" "$program" --what=1
  # The manual page has the options of --help, each one.
  grep -o '^  --[a-z]*' help | tr -d ' ' | sort >options
  sed -n 's/^\.BI\{0,1\} \(\\-\\-[a-z]*\).*/\1/p' "$source/docs/man/$name.1" | tr -d '\\' | sort -u |
    diff options - >said || fail "$name: options of the manual page"
done

# The tools answer --help, and do nothing else.
for tool in "$source"/tools/*; do
  [ -f "$tool" ] && [ -x "$tool" ] || continue
  timeout 20 "$tool" --help >shown 2>said </dev/null || fail "$tool --help: status $?"
  grep -q "tools/$(basename "$tool")" shown || fail "$tool --help does not show how it is called"
done

font=/usr/share/fonts/truetype/dejavu/DejaVuSans.ttf
echo '<svg xmlns="http://www.w3.org/2000/svg" width="4" height="4"/>' >good.svg
gzip -c good.svg >packed.svg
ln good.svg same.svg
echo text >text.txt
cp text.txt no.font
while IFS='|' read -r program arguments status words; do
  eval "file=\${kalvora$program-}"
  # shellcheck disable=SC2154,SC2086 # set above; a list of words
  [ -z "$file" ] || expect "$status" "$words" "$file" $arguments
done <<TABLE
svg||2|it needs INPUT.svg OUTPUT.png
svg|good.svg|2|it needs INPUT.svg OUTPUT.png
svg|a b c|2|nothing is known to do with c
svg|good.svg out.png --size|2|--size needs a value
svg|good.svg out.png --size 4|2|--size: '4' is not a size
svg|good.svg out.png --size=x|2|--size: 'x' is not a size
svg|good.svg out.png --size=0x4|2|--size: '0' is not a number from 1 to 8192
svg|good.svg out.png --zoom=0|2|--zoom: '0' is not a number
svg|good.svg out.png --background pinkish|2|'pinkish' is not an SVG colour
svg|good.svg out.png --format=6|2|'6' is none of 4, 5
svg|good.svg same.svg|2|same.svg is an input, and would be written over
svg|missing.svg out.png|1|missing.svg: No such file or directory
svg|folder out.png|1|folder: is a folder, not a file
svg|/proc/self/mem out.png|1|/proc/self/mem: Input/output error
svg|packed.svg out.png|1|packed.svg: is compressed; unpack it first, with gunzip
svg|/dev/zero out.png|1|/dev/zero: is larger than 256 MB
svg|- out.png|1|standard input:
svg|good.svg nowhere/out.png|1|nowhere/out.png: No such file or directory
svg|good.svg /dev/full|1|/dev/full: 
svg|-- good.svg --size=64x64|0|
svg|good.svg --size=64x out.png|0|
svg|good.svg -|0|
contactsheet|good.svg|2|it needs INPUT.svg... OUTPUT.png
contactsheet|out.png good.svg|2|the picture comes last
contactsheet|--cell=0 good.svg out.png|2|--cell:
contactsheet|folder packed.svg none.png|1|no file could be drawn
contactsheet|folder good.svg some.png|1|1 files could not be drawn
contactsheet|good.svg same.svg all.png|0|
text|text.txt|2|it needs INPUT and OUTPUT.png
text|--list text.txt out.png|2|--list writes no picture
text|--size x text.txt out.png|2|--size: 'x' is not a number from 4 to 400
text|--align=left text.txt out.png|2|'left' is none of start, end, centre, justify
text|--font missing.ttf text.txt out.png|1|missing.ttf: No such file or directory
text|--font no.font text.txt out.png|1|no.font is no font
text|--font $font text.txt text.txt|2|text.txt is an input
text|--font no.font text.txt no.font|2|no.font is an input
text|--font $font folder out.png|1|folder: is a folder
text|--font $font - -|0|
gallery||2|it needs FOLDER
gallery|text.txt/folder|1|text.txt/folder: Not a directory
gallery|text.txt|1|text.txt/fill-rules.png: Not a directory
dashboard|more|2|nothing is known to do with more
dashboard|--buffers=4|2|--buffers: '4' is not a number from 1 to 3
dashboard|--display lcd|2|'lcd' is none of fb0, kms0, shm
dashboard|--display fb|2|--display:
dashboard|--rotate 45|2|'45' is none of 0, 90, 180, 270
dashboard|--frames -1|2|--frames: '-1'
dashboard|--font missing.ttf|1|missing.ttf
dashboard|--font no.font --save no.font|2|no.font is an input
dashboard|--display fb31|1|/dev/fb31: No such file or directory
viewer|--zoom 9|2|--zoom: '9' is not a number from 1 to 8
info|--json=1|2|--json takes no value
TABLE

[ "$(cat text.txt)" = text ] || fail "text.txt was written over"
for file in out.png some.png all.png ./--size=64x64; do
  [ "$(head -c 4 $file | tail -c 3)" = PNG ] || fail "$file is no picture"
done
[ ! -e none.png ] || fail "a sheet of nothing"
[ "$(find . -name '*.part*')" = "" ] || fail "halves of files"
# shellcheck disable=SC2154 # set above
if [ -n "${kalvoraviewer-}" ]; then
  unset DISPLAY WAYLAND_DISPLAY
  for driver in "" dummy offscreen; do
    SDL_VIDEODRIVER=$driver timeout 20 "$kalvoraviewer" >shown 2>said && status=0 || status=$?
    [ $status = 1 ] && grep -q "kalvora-viewer: no window" said || fail "a window nowhere, $driver: $status"
  done
fi
[ $failures = 0 ]
