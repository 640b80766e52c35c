#!/bin/bash
# Builds the program and starts it under Wine.
# With a DISPLAY it shows there and this script returns its exit code when it
# is closed. Without one it runs on a virtual display, saves a screenshot of
# the main window to build/screenshot.png, closes the window and exits with
# the program's exit code (low 8 bits).
set -euo pipefail
cd "$(dirname "$0")/.."
tools/setup.sh
BUILD_DIR=${BUILD_DIR:-build}
RUN="$BUILD_DIR/wine-run"
EXE="$BUILD_DIR/KRN Properties.exe"
TITLE="Kestrune™ Properties x64"

if [ -n "${DISPLAY:-}" ]; then
    exec "$RUN" "$EXE" "$@"
fi

"$RUN" "$EXE" "$@" &
program=$!
status=0
if "$RUN" "$BUILD_DIR/krn_drive.exe" wait "$TITLE" 30000; then
    sleep 1  # let the window finish painting
    "$RUN" "$BUILD_DIR/krn_drive.exe" shot "$TITLE" "$BUILD_DIR/screenshot.bmp"
    convert "$BUILD_DIR/screenshot.bmp" "$BUILD_DIR/screenshot.png" && rm -f "$BUILD_DIR/screenshot.bmp"
    echo "Screenshot of the main window: $BUILD_DIR/screenshot.png"
    "$RUN" "$BUILD_DIR/krn_drive.exe" close "$TITLE"
else
    echo "The main window did not appear." >&2
    kill "$program" 2>/dev/null || true
fi
wait "$program" || status=$?
echo "KRN Properties exited with $status"
exit "$status"
