#!/bin/sh
# Builds the module a second time and compares the two files byte by byte.
#
# Usage: repeated_build.sh SOURCES MODULE [CMake options...]
#
# The second build starts from a copy of the sources, in a folder of another name and depth, with no compiler
# cache in between, in another locale and in one job instead of several. What it builds goes when it ends.
set -eu

sources=$1
module=$2
shift 2

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
copy=$work/another/path/of/another/depth
mkdir -p "$copy"
tar -C "$sources" --exclude=./build --exclude=./.git -cf - . | tar -C "$copy" -xf -

unset CMAKE_C_COMPILER_LAUNCHER CMAKE_CXX_COMPILER_LAUNCHER
export CCACHE_DISABLE=1 LC_ALL=C TZ=Pacific/Kiritimati

# Says what a command said, if it fails.
quietly() {
  "$@" >"$work/said" 2>&1 && return
  cat "$work/said" >&2
  return 1
}

quietly cmake -G Ninja -S "$copy" -B "$work/built" -DTREADSHIFT_RENDER=OFF -DTREADSHIFT_TESTS=OFF \
  -DTREADSHIFT_LV2=OFF -DTREADSHIFT_BENCH=OFF "$@"
quietly cmake --build "$work/built" --target treadshift --parallel 1

second=$work/built/$(basename "$module")
cmp "$module" "$second" || {
  readelf -SW "$module" >"$work/first.sections"
  readelf -SW "$second" >"$work/second.sections"
  diff "$work/first.sections" "$work/second.sections" >&2 || true
  echo "repeated_build.sh: a second build of the same sources gives another module" >&2
  exit 1
}
