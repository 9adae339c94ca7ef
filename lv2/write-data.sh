#!/bin/sh
# Writes the bundle's data: lv2/write-data.sh PRESETS.conf BUNDLE MINOR MICRO, the last two its version. A file
# appears there when all went well.
set -eu
presets=$(realpath "$1")
minor=$3
micro=$4
mkdir -p "$2"
bundle=$(realpath "$2")
cd "$(dirname "$0")"

unfinished=$(mktemp -d "$bundle/unfinished-XXXXXX")
trap 'rm -rf "$unfinished"' EXIT

awk -v part=manifest -f presets.awk treadshift.ttl "$presets" >"$unfinished/entries"
awk -v part=presets -f presets.awk treadshift.ttl "$presets" >"$unfinished/presets.ttl"
cat manifest.ttl "$unfinished/entries" >"$unfinished/manifest.ttl"
rm "$unfinished/entries"
sed "s/@MINOR@/$minor/; s/@MICRO@/$micro/" treadshift.ttl >"$unfinished/treadshift.ttl"
mv "$unfinished"/* "$bundle"
