#!/bin/bash
# The installer tests' own Wine prefix, <dir>/wineprefix.
#   installer-prefix.sh install <dir> <wine-run> <msi>   a fresh prefix with the MSI installed
#   installer-prefix.sh end <dir> <wine-stop>            its session ended and the prefix removed
set -u
command=$1 dir=$2
case "$command" in
install)
    wine_run=$3 msi=$4
    # Fresh every run: what an earlier run installed or left must not count.
    [ -d "$dir/wineprefix" ] && "$(dirname "$0")/../../tools/wine-stop" "$dir"
    rm -rf "$dir"
    mkdir -p "$dir"
    windows_msi="Z:${msi//\//\\}"
    KRN_WINEPREFIX="$dir/wineprefix" "$wine_run" msiexec /i "$windows_msi" /qn
    status=$?
    echo "msiexec /i exited with $status"
    exit "$status"
    ;;
end)
    wine_stop=$3
    "$wine_stop" "$dir"
    rm -rf "$dir"
    ;;
*)
    echo "usage: $0 install|end <dir> ..." >&2
    exit 2
    ;;
esac
