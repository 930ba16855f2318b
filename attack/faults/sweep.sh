#!/bin/sh
# sweep.sh FOLDER OPTION...: the sweeps of failing calls with what was built into FOLDER: one failure, all calls
# from one on, and a phone that has learned nothing yet. With options, the one sweep that they ask for.
set -eu

folder=$(cd "$1" && pwd)
shift
cd "$(dirname "$0")/../.."

memory=/tmp
[ ! -d /dev/shm ] || memory=/dev/shm
work=$(mktemp -d "$memory/ksbrain-faults-XXXXXX")
trap 'rm -rf "$work"' EXIT

sweep() {
    rm -rf "$work/data"
    platform/workstation/private-data.sh "$work/data" "$folder/ksbrain-faults" \
        --shim "$folder/attack/faults/libfailing_calls.so" "$@"
}

if [ $# -gt 0 ]; then
    sweep "$@"
    exit
fi
status=0
echo "One call fails:"
sweep || status=1
echo
echo "That call and all of its kind after it fail:"
sweep --times 0 --most 20 || status=1
echo
echo "One call fails on a phone that has learned nothing yet:"
sweep --fresh --most 20 || status=1
exit $status
