#!/bin/bash
# Mounts and unmounts the slow storage (slow-storage.py) for a test, as a CTest
# fixture: the set-up starts it, the clean-up, which CTest runs also when the
# test failed, unmounts it and ends its process by the PID it recorded.
#   slow-storage.sh start DIR SECONDS   DIR/mnt mirrors DIR/root; DIR/mnt/slow is slow
#   slow-storage.sh stop DIR
# DIR/state tells the test what it got: "mounted", or "skip: <reason>".
set -u
ACTION=$1
DIR=$2
HERE=$(dirname "$(realpath "$0")")

stop() {
    if grep -qs " $DIR/mnt " /proc/mounts; then
        fusermount3 -u -z "$DIR/mnt" 2>/dev/null || umount -l "$DIR/mnt" 2>/dev/null
    fi
    if [ -f "$DIR/pid" ]; then
        pid=$(cat "$DIR/pid")
        kill "$pid" 2>/dev/null
        for _ in $(seq 10); do kill -0 "$pid" 2>/dev/null || break; sleep 0.1; done
        kill -KILL "$pid" 2>/dev/null
        rm -f "$DIR/pid"
    fi
}

skip() {
    echo "skip: $1" > "$DIR/state"
    exit 0
}

case "$ACTION" in
stop)
    stop
    rm -f "$DIR/state"
    exit 0
    ;;
start)
    SECONDS_PER_OPERATION=$3
    mkdir -p "$DIR"
    stop  # what a run that was killed may have left
    rm -rf "$DIR/root" "$DIR/mnt"
    mkdir -p "$DIR/root/slow" "$DIR/root/good" "$DIR/mnt"
    [ -c /dev/fuse ] || skip "/dev/fuse is missing"
    command -v fusermount3 >/dev/null || skip "fusermount3 is missing (package fuse3)"
    /usr/bin/python3 -c 'import fusepy' 2>/dev/null || skip "the module fusepy is missing (package python3-fusepy)"
    setsid /usr/bin/python3 "$HERE/slow-storage.py" "$DIR/root" "$DIR/mnt" slow "$SECONDS_PER_OPERATION" \
        </dev/null >"$DIR/log" 2>&1 &
    echo $! > "$DIR/pid"
    for _ in $(seq 100); do
        grep -qs " $DIR/mnt fuse" /proc/mounts && { echo mounted > "$DIR/state"; exit 0; }
        kill -0 "$(cat "$DIR/pid")" 2>/dev/null || break
        sleep 0.1
    done
    reason="the file system did not mount: $(tail -1 "$DIR/log")"
    stop
    skip "$reason"
    ;;
esac
