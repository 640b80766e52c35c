#!/bin/bash
# Prints the lines of test code, the lines of product code and the share of
# tests in all of it: C and C++ files tracked by git, tests/ against every
# other folder except bench/ and tools/, blank and comment-only lines left out.
set -euo pipefail
cd "$(dirname "$0")/.."

count() {
    # Strips // comments that fill a line and /* ... */ blocks, then counts
    # the lines with anything left.
    awk '
        {
            line = $0
            out = ""
            while (length(line) > 0) {
                if (inBlock) {
                    end = index(line, "*/")
                    if (end == 0) { line = ""; break }
                    line = substr(line, end + 2)
                    inBlock = 0
                    continue
                }
                start = index(line, "/*")
                if (start == 0) { out = out line; break }
                out = out substr(line, 1, start - 1)
                line = substr(line, start + 2)
                inBlock = 1
            }
            sub(/^[ \t]*\/\/.*/, "", out)
            if (out ~ /[^ \t\r]/) n++
        }
        ENDFILE { inBlock = 0 }
        END { print n + 0 }
    ' "$@" </dev/null
}

mapfile -t files < <(git ls-files -- '*.c' '*.cc' '*.cpp' '*.h' '*.hpp')
tests=() product=()
for f in "${files[@]}"; do
    case "$f" in
        tests/*) tests+=("$f") ;;
        bench/*|tools/*) ;;
        *) product+=("$f") ;;
    esac
done
t=$(count "${tests[@]}")
p=$(count "${product[@]}")
awk -v t="$t" -v p="$p" 'BEGIN { printf "tests %d  product %d  ratio %.2f\n", t, p, t / (t + p) }'
