#!/bin/bash
# Builds the program and starts it under Wine.
# With a DISPLAY it shows there until the user closes it. Without one it runs
# on a virtual display, saves a screenshot of the main window to
# build/screenshot.png and closes the window. Either way this script exits 0
# when the program ended through one of its normal closing commands (OK 1,
# Cancel or close box 2, File > Exit 32776, seen by Linux as 8) and with the
# program's exit code otherwise.
set -euo pipefail
cd "$(dirname "$0")/.."
tools/setup.sh
BUILD_DIR=${BUILD_DIR:-build}
RUN="$BUILD_DIR/wine-run"
EXE="$BUILD_DIR/KRN Properties.exe"
TITLE="Kestrune™ Properties x64"

finish() {
    echo "KRN Properties exited with $1"
    case "$1" in
        1|2|8) exit 0 ;;
        *) exit "$1" ;;
    esac
}

# The companion servers (build/servers.txt lists them), registered in this
# build's own prefix, so that the program shows their real state from its
# first start.
while IFS= read -r server; do
    [ -n "$server" ] || continue
    "$RUN" "$BUILD_DIR/$server" /RegServer || echo "Registering $server failed." >&2
done < <(cat "$BUILD_DIR/servers.txt" 2>/dev/null)

status=0
if [ -n "${DISPLAY:-}" ]; then
    "$RUN" "$EXE" "$@" || status=$?
    finish "$status"
fi

"$RUN" "$EXE" "$@" &
program=$!
if "$RUN" "$BUILD_DIR/krn_drive.exe" wait "$TITLE" 30000; then
    sleep 1  # let the window finish painting
    "$RUN" "$BUILD_DIR/krn_drive.exe" shot "$TITLE" "$BUILD_DIR/screenshot.bmp"
    convert "$BUILD_DIR/screenshot.bmp" -alpha off "$BUILD_DIR/screenshot.png" && rm -f "$BUILD_DIR/screenshot.bmp"
    echo "Screenshot of the main window: $BUILD_DIR/screenshot.png"
    "$RUN" "$BUILD_DIR/krn_drive.exe" close "$TITLE"
else
    echo "The main window did not appear." >&2
    kill "$program" 2>/dev/null || true
fi
wait "$program" || status=$?
finish "$status"
