#!/bin/bash
# Checks that every #include of the product runs down the layers, never back
# up. Each folder lists the folders its files may include besides its own;
# what is not listed is a step up. tests/, bench/ and tools/ may include
# anything. Prints each include that breaks the order and exits 1 if any does.
set -euo pipefail
cd "$(dirname "$0")/.."

# Lowest first. Kestrune.h is generated from idl/, resource.h lives in res/.
declare -A allowed=(
    [base]=""
    [idl]="base"
    [res]=""
    [acl]="base"
    [settings]="base"
    [storage]="base"
    # The configuration reads and writes the action kinds' parameter blocks:
    # the one tie the layout of the file fixes, and the only one that runs up.
    [config]="base actions"
    [app]="base acl settings res"
    [actions]="base acl settings config app res"
    [ui]="base acl settings config app res"
    [ui/dialogs]="base acl settings config app actions ui res"
    [ui/main]="base acl settings config app actions ui ui/dialogs idl res"
    [server]="base idl"
    [engine]="base idl server storage"
    [watcher]="base idl server storage config actions settings res"
)

folder_of() {
    case "$1" in
        Kestrune.h | idl/*) echo idl ;;
        resource.h | res/*) echo res ;;
        ui/main/* | ui/dialogs/*) echo "${1%/*}" ;;
        */*) echo "${1%%/*}" ;;
        *) echo "" ;;
    esac
}

status=0
while IFS= read -r file; do
    from=$(folder_of "$file")
    # The program's entry point is the top: it knows the main window.
    [ "$file" = app/main.cpp ] && continue
    [ -n "${allowed[$from]+set}" ] || continue
    while IFS= read -r target; do
        to=$(folder_of "$target")
        [ -z "$to" ] || [ "$to" = "$from" ] && continue
        if [[ " ${allowed[$from]} " != *" $to "* ]]; then
            echo "$file includes $target: $from may not include $to"
            status=1
        fi
    done < <(grep -o '^#include "[^"]*"' "$file" | sed 's/^#include "//; s/"$//')
done < <(git ls-files -- '*.h' '*.cpp' '*.c' ':!tests/*' ':!bench/*' ':!tools/*')
[ $status -eq 0 ] && echo "every include runs down the layers"
exit $status
