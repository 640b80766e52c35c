#!/bin/bash
# Puts the faults of tools/mutations.txt into the product one at a time,
# rebuilds, runs the whole test suite and puts the file back: which faults do
# the tests notice, and which do they let through?
#   tools/mutate.sh [--build DIR] [--only ID[,ID...]] [--list FILE] [--hint REPORT] [--check]
# --check only verifies that every fault's text is found exactly once.
# --hint takes an earlier report: a fault it names a catching test for runs
# that test first and the whole suite only if the test no longer fails, which
# takes a run of the whole list from about 90 minutes to about 45.
# The report goes to the terminal and to DIR/mutation-report.txt; each
# fault's build and test output to DIR/mutation-logs/<id>.log.
set -uo pipefail
shopt -u patsub_replacement 2>/dev/null || true  # bash 5.2: "&" in a replacement is literal

ROOT=$(cd "$(dirname "$0")/.." && pwd)
BUILD=build
LIST=$ROOT/tools/mutations.txt
ONLY=""
CHECK_ONLY=0
HINT=""
while [ $# -gt 0 ]; do
    case $1 in
    --build) BUILD=$2; shift 2 ;;
    --only) ONLY=",$2,"; shift 2 ;;
    --list) LIST=$2; shift 2 ;;
    --check) CHECK_ONLY=1; shift ;;
    --hint) HINT=$2; shift 2 ;;
    *) echo "usage: $0 [--build DIR] [--only ID[,ID...]] [--list FILE] [--hint REPORT] [--check]" >&2; exit 2 ;;
    esac
done
[ -f "$LIST" ] || { echo "no fault list: $LIST" >&2; exit 2; }

# ---- one fault: read, found once, applied

FIELDS=()
# Splits "id | file | original | replacement" into FIELDS; false when malformed.
parse_line() {
    local rest=$1
    FIELDS=()
    for _ in 1 2 3; do
        [[ $rest == *" | "* ]] || return 1
        FIELDS+=("${rest%% | *}")
        rest=${rest#* | }
    done
    [[ $rest == *" | "* ]] && return 1
    FIELDS+=("$rest")
    FIELDS[0]=$(echo "${FIELDS[0]}" | xargs)
    FIELDS[1]=$(echo "${FIELDS[1]}" | xargs)
    [ -n "${FIELDS[0]}" ] && [ -n "${FIELDS[1]}" ] && [ -n "${FIELDS[2]}" ]
}

# How often the text $2 occurs in file $1.
count_in_file() {
    local content="" rest
    IFS= read -r -d '' content < "$1"
    rest=${content//"$2"/}
    echo $(( (${#content} - ${#rest}) / ${#2} ))
}

# Replaces the one occurrence of $2 in file $1 with $3, byte for byte otherwise.
replace_in_file() {
    local content=""
    IFS= read -r -d '' content < "$1"
    printf '%s' "${content/"$2"/"$3"}" > "$1"
}

# "found", "not found", or "ambiguous (N times)".
locate() { # file original
    [ -f "$ROOT/$1" ] || { echo "not found"; return; }
    local n
    n=$(count_in_file "$ROOT/$1" "$2")
    case $n in
    1) echo found ;;
    0) echo "not found" ;;
    *) echo "ambiguous ($n times)" ;;
    esac
}

# Reads the list: one fault per entry of IDS, FILES, ORIGINALS, REPLACEMENTS.
IDS=() FILES=() ORIGINALS=() REPLACEMENTS=()
while IFS= read -r line || [ -n "$line" ]; do
    [[ $line =~ ^[[:space:]]*(#|$) ]] && continue
    if ! parse_line "$line"; then
        echo "malformed line in $LIST: $line" >&2
        exit 2
    fi
    [ -n "$ONLY" ] && [[ $ONLY != *",${FIELDS[0]},"* ]] && continue
    IDS+=("${FIELDS[0]}") FILES+=("${FIELDS[1]}") ORIGINALS+=("${FIELDS[2]}") REPLACEMENTS+=("${FIELDS[3]}")
done < "$LIST"
[ ${#IDS[@]} -gt 0 ] || { echo "no fault selected" >&2; exit 2; }

if [ "$CHECK_ONLY" = 1 ]; then
    bad=0
    for i in "${!IDS[@]}"; do
        where=$(locate "${FILES[i]}" "${ORIGINALS[i]}")
        [ "$where" = found ] || { printf '%-26s %s\n' "${IDS[i]}" "$where"; bad=1; }
    done
    [ $bad = 0 ] && echo "all ${#IDS[@]} faults found exactly once"
    exit $bad
fi

# ---- the build tree, its Wine session, and putting things back

[ -d "$BUILD" ] || { echo "no build tree: $BUILD" >&2; exit 2; }
BUILD=$(cd "$BUILD" && pwd)
PREFIX=$BUILD/wineprefix
STASH=$BUILD/mutation-stash
LOGS=$BUILD/mutation-logs
REPORT=$BUILD/mutation-report.txt
mkdir -p "$STASH" "$LOGS"

# The file with a fault in it is kept in the stash until it is put back; a
# run that was killed outright leaves it there for the next run to restore.
restore_source() {
    [ -f "$STASH/path" ] || return 0
    cp "$STASH/original" "$ROOT/$(cat "$STASH/path")"  # a new time stamp: make rebuilds it
    rm -f "$STASH/path" "$STASH/original"
}

# Ends the build's Wine sessions (a server lingers with the faulty code
# otherwise) and puts back the prefix's registry as it was before the first
# fault, so that no fault leaves registrations or settings to the next one.
reset_wine() {
    # A run stopped at its first failure skips the fixtures' clean-up: the
    # slow storages' mounts and processes go here.
    for storage in "$BUILD"/tests/*/*-slow-storage "$BUILD"/tests/*/*/*-slow-storage; do
        [ -d "$storage" ] && bash "$ROOT/tests/support/slow-storage.sh" stop "$storage"
    done
    "$ROOT/tools/wine-stop" "$BUILD"
    [ -d "$BUILD/installer-test" ] && "$ROOT/tools/wine-stop" "$BUILD/installer-test"
    [ -d "$PREFIX" ] && WINEPREFIX=$PREFIX /usr/lib/wine/wineserver -w 2>/dev/null
    if [ -d "$STASH/registry" ] && [ -d "$PREFIX" ]; then
        cp "$STASH/registry/"*.reg "$PREFIX/"
    fi
}

CHILD=""
# Runs a command in the background, so that a signal reaches the trap at once,
# and in a process group of its own, so that the trap can end all of it (a
# compiler still writing an object from the faulty source included).
run_child() {
    setsid "$@" &
    CHILD=$!
    wait "$CHILD"
    local status=$?
    CHILD=""
    return $status
}

# The trap may run while a child's output goes to a log: it speaks on fd 3,
# the script's own stderr.
exec 3>&2
on_signal() {
    if [ -n "$CHILD" ]; then
        kill -TERM -- "-$CHILD" 2>/dev/null || kill -TERM "$CHILD" 2>/dev/null
        wait "$CHILD" 2>/dev/null
        reset_wine  # ends the tests an interrupted ctest leaves behind
    fi
    restore_source
    echo "interrupted: the source is restored; rebuild with: cmake --build $BUILD -j2" >&3
    exit 130
}
trap restore_source EXIT
trap on_signal INT TERM HUP

restore_source
echo "building the unchanged tree..."
if ! run_child cmake --build "$BUILD" -j2 > "$LOGS/unchanged-build.log" 2>&1; then
    echo "the unchanged tree does not build: see $LOGS/unchanged-build.log" >&2
    exit 1
fi
[ -d "$PREFIX" ] || "$BUILD/wine-run" cmd /c exit 0 > /dev/null 2>&1
"$ROOT/tools/wine-stop" "$BUILD"
WINEPREFIX=$PREFIX /usr/lib/wine/wineserver -w 2>/dev/null
ctest --test-dir "$BUILD" -N | sed -n 's/^ *Test *#[0-9]*: //p' > "$STASH/tests"
rm -rf "$STASH/registry"
mkdir -p "$STASH/registry"
cp "$PREFIX/"*.reg "$STASH/registry/"

# ---- the suite against one fault

# Names of the tests that failed, in the order ctest reported them.
failed_in_order() { # ctest output file
    sed -n 's/^.*Test *#[0-9]*: \([^ ]*\) .*\*\*\*.*$/\1/p' "$1"
}

# A regular expression matching exactly the given test names.
exact_names() {
    local names=() name
    for name in "$@"; do
        names+=("$(printf '%s' "$name" | sed 's/[][\.*^$+?(){}|/]/\\&/g')")
    done
    local IFS='|'
    echo "^(${names[*]})\$"
}

# The first test that an earlier report names as catching fault $1 and that
# the suite still has (reports of several runs may be put one after another).
hinted_test() {
    [ -n "$HINT" ] && [ -f "$HINT" ] || return 0
    local name
    while IFS= read -r name; do
        grep -qxF -- "$name" "$STASH/tests" && { echo "$name"; return; }
    done < <(awk -v id="$1" '$1 == id && $2 == "caught" && $3 !~ /^\(/ { print $3 }' "$HINT")
}

RESULT="" FIRST=""
# Runs only the hinted test, twice: caught when it fails both times.
run_hinted() { # id test
    local log=$LOGS/$1.log attempt
    echo "---- hinted test $2" >> "$log"
    for attempt in 1 2; do
        run_child ctest --test-dir "$BUILD" --timeout 300 --output-on-failure -R "$(exact_names "$2")" > "$log.run" 2>&1
        local status=$?
        cat "$log.run" >> "$log"
        # ctest succeeds when no test matches: a renamed test is no hint.
        if [ $status = 0 ] || grep -q "No tests were found" "$log.run"; then
            rm -f "$log.run"
            return 1
        fi
        rm -f "$log.run"
    done
    RESULT=caught FIRST=$2
}

# Runs the suite with the fault in. A failure counts only when the failed
# tests fail again in a second run: under load a test may fail by chance.
run_suite() { # id
    local log=$LOGS/$1.log attempt failed confirmed name
    local failures=$BUILD/Testing/Temporary/LastTestsFailed.log
    RESULT=MISSED FIRST=""
    for attempt in 1 2 3; do
        echo "---- suite, attempt $attempt" >> "$log"
        rm -f "$failures"
        if run_child ctest --test-dir "$BUILD" -j2 --timeout 300 --stop-on-failure --output-on-failure > "$log.run" 2>&1; then
            cat "$log.run" >> "$log"; rm -f "$log.run"
            RESULT=MISSED
            return
        fi
        mapfile -t failed < <(failed_in_order "$log.run")
        [ ${#failed[@]} -gt 0 ] || mapfile -t failed < <(cut -d: -f2- "$failures" 2>/dev/null)
        cat "$log.run" >> "$log"; rm -f "$log.run"
        [ ${#failed[@]} -gt 0 ] || { RESULT="MISSED (ctest failed, naming no test)"; return; }
        echo "---- confirming: ${failed[*]}" >> "$log"
        rm -f "$failures"
        confirmed=()
        if ! run_child ctest --test-dir "$BUILD" --timeout 300 --output-on-failure -R "$(exact_names "${failed[@]}")" >> "$log" 2>&1; then
            mapfile -t confirmed < <(cut -d: -f2- "$failures" 2>/dev/null)
        fi
        for name in "${failed[@]}"; do
            if printf '%s\n' "${confirmed[@]}" | grep -qxF -- "$name"; then
                RESULT=caught FIRST=$name
                return
            fi
        done
        echo "---- ${failed[*]} passed again: chance, running the suite again" >> "$log"
        RESULT="MISSED (failed by chance only: ${failed[*]})"
        reset_wine
    done
}

# ---- the run

START=$(date +%s)
{
    echo "Mutation run of $(git -C "$ROOT" rev-parse --short HEAD) ($(git -C "$ROOT" log -1 --format=%cd --date=short)), $(date '+%Y-%m-%d %H:%M')"
    echo "list: $LIST, ${#IDS[@]} faults"
    echo
} > "$REPORT"
report() { printf '%-26s %s\n' "$1" "$2" | tee -a "$REPORT"; }

caught=0 compiler=0 missed=0 absent=0
for i in "${!IDS[@]}"; do
    id=${IDS[i]} file=${FILES[i]}
    where=$(locate "$file" "${ORIGINALS[i]}")
    if [ "$where" != found ]; then
        report "$id" "$where"
        absent=$((absent + 1))
        continue
    fi
    began=$(date +%s)
    log=$LOGS/$id.log
    echo "== $id: $file: '${ORIGINALS[i]}' -> '${REPLACEMENTS[i]}'" > "$log"
    cp "$ROOT/$file" "$STASH/original"
    echo "$file" > "$STASH/path"
    replace_in_file "$ROOT/$file" "${ORIGINALS[i]}" "${REPLACEMENTS[i]}"
    if ! run_child cmake --build "$BUILD" -j2 >> "$log" 2>&1; then
        RESULT="caught by the compiler" FIRST=""
        compiler=$((compiler + 1))
    else
        hint=$(hinted_test "$id")
        { [ -n "$hint" ] && run_hinted "$id" "$hint"; } || { reset_wine; run_suite "$id"; }
        case $RESULT in caught) caught=$((caught + 1)) ;; *) missed=$((missed + 1)) ;; esac
    fi
    restore_source
    reset_wine
    report "$id" "$RESULT${FIRST:+  $FIRST}  ($(( $(date +%s) - began )) s)"
done

echo "rebuilding the unchanged tree..."
run_child cmake --build "$BUILD" -j2 >> "$LOGS/unchanged-build.log" 2>&1 || echo "the final rebuild failed: see $LOGS/unchanged-build.log" >&2
minutes=$(( ($(date +%s) - START + 59) / 60 ))
{
    echo
    echo "caught: $((caught + compiler)) (by the compiler: $compiler)  missed: $missed  not found or ambiguous: $absent  time: $minutes min"
} | tee -a "$REPORT"
