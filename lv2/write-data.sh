#!/bin/sh
# Writes the bundle's data: lv2/write-data.sh PRESETS.conf BUNDLE. A file appears there when all went well.
set -eu
presets=$(realpath "$1")
mkdir -p "$2"
bundle=$(realpath "$2")
cd "$(dirname "$0")"

unfinished=$(mktemp -d "$bundle/unfinished-XXXXXX")
trap 'rm -rf "$unfinished"' EXIT

awk -v part=manifest -f presets.awk treadshift.ttl "$presets" >"$unfinished/entries"
awk -v part=presets -f presets.awk treadshift.ttl "$presets" >"$unfinished/presets.ttl"
cat manifest.ttl "$unfinished/entries" >"$unfinished/manifest.ttl"
rm "$unfinished/entries"
cp treadshift.ttl "$unfinished"
mv "$unfinished"/* "$bundle"
