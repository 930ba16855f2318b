#!/bin/sh
# run.sh FOLDER SECONDS TARGET...: runs the fuzz targets that were built into FOLDER, each for so many seconds
# from its seeds and from what earlier runs have gathered in FOLDER/corpus. Prints a line for each; an input
# that breaks something stays in FOLDER/findings, and is the fuzz target's argument when it is tried again.
set -eu

folder=$(cd "$1" && pwd)
seconds=$2
shift 2
cd "$(dirname "$0")"

memory=/tmp
[ ! -d /dev/shm ] || memory=/dev/shm
TMPDIR=$(mktemp -d "$memory/ksbrain-fuzz-XXXXXX")
export TMPDIR
trap 'rm -rf "$TMPDIR"' EXIT
mkdir -p "$folder/findings"

status=0
printf '%-10s %12s %8s %10s %7s\n' target executions each/s "code edges" inputs
for target; do
    corpus=$folder/corpus/$target
    log=$folder/findings/$target.log
    mkdir -p "$corpus"
    found=
    "$folder/attack/fuzz/${target}_fuzz" -max_total_time="$seconds" -timeout=10 -rss_limit_mb=2048 \
        -malloc_limit_mb=64 -print_final_stats=1 -artifact_prefix="$folder/findings/$target-" \
        "$corpus" "seeds/$target" >"$log" 2>&1 || status=1 found="  FOUND $(grep -m 1 -o \
        'broken promise.*\|ERROR: .*\|runtime error.*' "$log" || echo something) ($log)"
    awk -v target="$target" -v found="$found" '
        / cov: / { edges = $4 }
        /^stat::number_of_executed_units/ { executions = $2 }
        /^stat::average_exec_per_sec/ { rate = $2 }
        / corp: / { for (i = 1; i < NF; ++i) if ($i == "corp:") { inputs = $(i + 1); sub("/.*", "", inputs) } }
        END { printf "%-10s %12d %8d %10d %7d%s\n", target, executions, rate, edges, inputs, found }' "$log"
done
exit $status
