# What the tools share. Source it from a script in tools/; it moves to the top of the repository.
# shellcheck shell=bash

set -eu
tool=$(realpath "$0")
cd "$(dirname "${BASH_SOURCE[0]}")/.."

# What a tool says of itself: the comment that it begins with.
usage() { sed -n '2,/^[^#]/s/^# \{0,1\}//p' "$tool"; }
refuse_usage() {
  echo "$(basename "$tool"): $*" >&2
  usage >&2
  exit 2
}
for argument; do
  [ "$argument" != --help ] || { usage; exit 0; }
done

# For tools that take none: no_arguments "$@"
no_arguments() { [ $# -eq 0 ] || refuse_usage "unknown argument $1"; }

# Packages of Debian 12.
BUILD_PACKAGES="g++ cmake ninja-build pkg-config libfreetype-dev libdrm-dev libpng-dev libpugixml-dev
  libharfbuzz-dev libfribidi-dev"
DEMO_PACKAGES="$BUILD_PACKAGES fonts-dejavu-core fonts-droid-fallback fonts-symbola fonts-noto-core
  fonts-noto-color-emoji fonts-nanum"
TEST_PACKAGES="$DEMO_PACKAGES doxygen unicode-data libpango1.0-dev libgtest-dev libbenchmark-dev libcairo2-dev libsdl2-dev
  xvfb"
BENCH_PACKAGES="$BUILD_PACKAGES fonts-dejavu-core fonts-droid-fallback libbenchmark-dev libcairo2-dev libpixman-1-dev
  libagg-dev qtbase5-dev"
FUZZ_PACKAGES="$TEST_PACKAGES clang libclang-rt-14-dev"

say() { printf '\n== %s\n' "$*"; }

# Prints a command and runs it.
run() {
  printf '$ %s\n' "$*"
  "$@"
}

# Runs a command as root: directly, or through sudo.
as_root() {
  if [ "$(id -u)" = 0 ]; then
    run "$@"
  else
    run sudo "$@"
  fi
}

is_installed() {
  [ "$(dpkg-query -W -f '${Status}' "$1" 2>/dev/null)" = "install ok installed" ]
}

# Installs those of the given packages that are missing.
install_missing() {
  local missing=() package
  for package in "$@"; do
    is_installed "$package" || missing+=("$package")
  done
  [ ${#missing[@]} -gt 0 ] || return 0
  as_root apt-get update -q
  as_root env DEBIAN_FRONTEND=noninteractive apt-get install -q -y --no-install-recommends \
    "${missing[@]}"
}

# Under sudo, what was built belongs to who called sudo.
give_back() {
  local path
  [ -n "${SUDO_UID:-}" ] && [ "$(id -u)" = 0 ] || return 0
  for path in build out; do
    [ ! -e "$path" ] || chown -R "$SUDO_UID:${SUDO_GID:-$SUDO_UID}" "$path"
  done
}
trap give_back EXIT

# A compiler cache serves every build, where there is one.
if command -v ccache >/dev/null; then
  export CMAKE_C_COMPILER_LAUNCHER=ccache CMAKE_CXX_COMPILER_LAUNCHER=ccache
fi

jobs_count() { nproc 2>/dev/null || echo 2; }

# Configures and builds a preset: build_preset NAME [TARGET...]
build_preset() {
  local preset=$1
  shift
  run cmake --preset "$preset"
  run cmake --build --preset "$preset" -j "$(jobs_count)" ${1:+--target "$@"}
}
