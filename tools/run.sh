#!/bin/bash
# Builds the program and starts it under Wine.
# With a DISPLAY it shows there until the user closes it. Without one it runs
# on a virtual display, saves a screenshot of the main window to
# build/screenshot.png and closes the window. Either way this script exits 0
# when the program ended through one of its normal closing commands (OK 1,
# Cancel or close box 2, File > Exit 32776, seen by Linux as 8) and with the
# program's exit code otherwise.
#   tools/run.sh --tooltip-demo
# instead shows the Size cell's tip over a demo history of a prefix folder and
# saves it to build/screenshot-tooltip.png (virtual display only).
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

TOOLTIP_DEMO=0
if [ "${1:-}" = --tooltip-demo ]; then
    TOOLTIP_DEMO=1
    shift
    unset DISPLAY
fi
DRIVE="$BUILD_DIR/krn_drive.exe"
ENGINE="$BUILD_DIR/KRN Size Engine.exe"

status=0
if [ -n "${DISPLAY:-}" ]; then
    "$RUN" "$EXE" "$@" || status=$?
    finish "$status"
fi

# The Linux path of a file of the prefix's user: $1 names the folder's
# variable (APPDATA, LOCALAPPDATA), $2 the file below it.
prefix_file() {
    local folder
    folder=$("$RUN" cmd /c echo %$1% 2>/dev/null | tr -d '\r' || true)
    "$RUN" winepath -u "$folder\\$2" 2>/dev/null | tr -d '\r' || true
}

# Two of the prefix's own folders, the fonts with a maximum of $1 $2.
write_demo_config() {
    cat > "$config" <<XML
<?xml version="1.0" encoding="utf-8"?><Configuration><Settings><ConfigVersion Version="1.3"/></Settings><Folders><Folder Path="C:\windows\Fonts"><Max Value="$1" Units="$2" Msg=""/><Actions><MsgBox/><AddToLog/></Actions></Folder><Folder Path="C:\windows\system32\drivers"><Min Value="1" Units="KB" Msg=""/><Actions><AddToLog/></Actions></Folder></Folders></Configuration>
XML
}

# A first start has no folders to show: the screenshot shows two of the
# prefix's own folders instead, from a configuration that is removed again.
config=$(prefix_file APPDATA 'Norlath\Kestrune\config.xml')
demo=
if [ -n "$config" ] && [ ! -e "$config" ]; then
    mkdir -p "$(dirname "$config")"
    write_demo_config 500 MB
    demo=$config
fi
history=
if [ "$TOOLTIP_DEMO" = 1 ]; then
    [ -n "$demo" ] || { echo "The tip's demo needs a prefix without a configuration." >&2; exit 1; }
    # The engine writes its history when it ends and reads it when it starts:
    # a lingering one is ended first. The user's history is put back after.
    "$RUN" "$ENGINE" /UnregServer || true
    history=$(prefix_file LOCALAPPDATA 'Norlath\Kestrune\history.bin')
    [ -e "$history" ] && mv "$history" "$history.before-demo"
    # A tenth of the folder a day, with a maximum five and a third days away.
    size=$("$RUN" "$DRIVE" history 'C:\windows\Fonts' 10 | tr -d '\r')
    perday=$((size / 10))
    "$RUN" "$ENGINE" /RegServer
    write_demo_config $(( (size + perday * 16 / 3) / 1024 )) KB
fi

"$RUN" "$EXE" "$@" &
program=$!
if "$RUN" "$DRIVE" wait "$TITLE" 30000; then
    sleep 4  # the first refresh has counted the folders by the second one
    shot=$BUILD_DIR/screenshot
    if [ "$TOOLTIP_DEMO" = 1 ]; then
        shot=$BUILD_DIR/screenshot-tooltip
        "$RUN" "$DRIVE" hover "$TITLE" 0 3 || echo "The Size cell's tip did not show." >&2
    fi
    "$RUN" "$DRIVE" shot "$TITLE" "$shot.bmp"
    convert "$shot.bmp" -alpha off "$shot.png" && rm -f "$shot.bmp"
    echo "Screenshot of the main window: $shot.png"
    "$RUN" "$DRIVE" close "$TITLE"
else
    echo "The main window did not appear." >&2
    kill "$program" 2>/dev/null || true
fi
wait "$program" || status=$?
if [ -n "$demo" ]; then rm -f "$demo"; fi
if [ -n "$history" ]; then
    "$RUN" "$ENGINE" /UnregServer || true
    rm -f "$history"
    [ -e "$history.before-demo" ] && mv "$history.before-demo" "$history"
    "$RUN" "$ENGINE" /RegServer
fi
finish "$status"
