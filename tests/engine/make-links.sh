#!/bin/bash
# Makes from Linux what a Windows program cannot make under Wine 8: symbolic
# links to folders (Wine shows them as reparse points: a loop, links out of the
# tree, a dangling one) in the build's prefix, and the UNC share
# \\krn-engine\share, which Wine finds through dosdevices/unc.
#   make-links.sh <wine-run> <prefix> [--remove]
set -eu
WINE_RUN=$1
PREFIX=$2
"$WINE_RUN" cmd /c exit 0 >/dev/null 2>&1  # the wrapper makes the prefix on first use
ROOT=$PREFIX/drive_c/krn-engine-links
SHARE=$PREFIX/dosdevices/unc/krn-engine
rm -rf "$ROOT" "$SHARE"
[ "${3:-}" = --remove ] && exit 0

mkdir -p "$ROOT/tree/sub/deeper" "$ROOT/outside"
head -c 1000 /dev/zero > "$ROOT/tree/a.bin"
head -c 500 /dev/zero > "$ROOT/tree/sub/b.bin"
head -c 25 /dev/zero > "$ROOT/tree/sub/deeper/c.bin"
head -c 100000 /dev/zero > "$ROOT/outside/big.bin"
ln -s .. "$ROOT/tree/sub/up"
ln -s . "$ROOT/tree/sub/deeper/self"
ln -s "$ROOT/tree" "$ROOT/tree/sub/deeper/root"
ln -s ../outside "$ROOT/tree/out"
ln -s nowhere "$ROOT/tree/dangling"
mkdir -p "$SHARE"
ln -s ../../../drive_c/krn-engine-links/tree "$SHARE/share"
