#!/usr/bin/env bash
# Regenerates the test plug-ins in this folder from src/. Run by hand after changing a source;
# the build never runs it. Needs Debian's gcc-mingw-w64-i686 and binutils-mingw-w64-i686.
# The output is reproducible: no time stamps, no C run-time, symbols stripped.
set -euo pipefail
cd "$(dirname "$0")"
cc=i686-w64-mingw32-gcc
windres=i686-w64-mingw32-windres
tmp=$(mktemp -d)
trap 'rm -rf "$tmp"' EXIT

$cc -c -O2 -Wall -o "$tmp/plugin.o" src/plugin.c

build() {  # output, resource source, windres options...
  local out=$1 rc=$2
  shift 2
  $windres -O coff "$@" -i "src/$rc" -o "$tmp/res.o"
  $cc -shared -nostdlib -s -Wl,--entry,_DllMain@12 -Wl,--no-insert-timestamp \
    -o "$out" "$tmp/plugin.o" "$tmp/res.o"
  echo "$out: $(stat -c %s "$out") bytes"
}

build soft_blur.8bf soft_blur.rc
build multi.8BF multi.rc
build legacy.8bf legacy.rc -DNAME_TYPE=_8BFM
build legacy.8be legacy.rc -DNAME_TYPE=_8BEM
build export.8be export.rc
build mixed.8bf mixed.rc
build nothing.dll nothing.rc
