#!/bin/sh
# coverage.sh FOLDER: runs the engine's tests that were built into FOLDER with Clang's coverage, prints the
# share of the engine's lines that they reach, file by file, and every line that they do not.
set -eu

folder=$(cd "$1" && pwd)
cd "$(dirname "$0")/.."
rm -rf "$folder/profiles"
LLVM_PROFILE_FILE="$folder/profiles/%2m.profraw" ctest --test-dir "$folder" -L 'engine|host' \
    -j "$(nproc)" --output-on-failure >"$folder/coverage.log" || { tail -50 "$folder/coverage.log"; exit 1; }
llvm-profdata merge -o "$folder/coverage" "$folder"/profiles/*.profraw

objects=
for test in "$folder"/engine/*/*_test; do
    objects="$objects -object $test"
done
measure() { # COMMAND...: of llvm-cov
    llvm-cov "$@" $objects -instr-profile="$folder/coverage" \
        -ignore-filename-regex='_test\.cpp$|/test/|/googletest/|/platform/|/tools/|^/usr/'
}

measure export -format=lcov 2>>"$folder/coverage.log" | awk -F '[:,]' -v root="$PWD/" '
    $1 == "SF" { file = $2; sub(root, "", file) }
    $1 == "DA" && !((file, $2) in seen) { # a header has lines in every function of its own
        seen[file, $2] = 1
        ++lines[file]
        ++all
    }
    $1 == "DA" && $3 > 0 { reached[file, $2] = 1 }
    $1 == "DA" { last[file] = $2 > last[file] ? $2 : last[file] }
    END {
        for (file in lines) {
            missed = ""
            hit = 0
            for (line = 1; line <= last[file]; ++line) {
                if ((file, line) in reached) ++hit
                else if ((file, line) in seen) missed = missed " " line
            }
            total += hit
            printf "%6.1f %%  %s%s\n", 100 * hit / lines[file], file, missed == "" ? "" : ":" missed
        }
        printf "%6.2f %%  of %d lines\n", 100 * total / all, all
    }' | sort -k3
