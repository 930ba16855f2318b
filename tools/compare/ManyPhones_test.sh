#!/bin/sh
# ManyPhones_test.sh PROGRAM [EMULATOR]: what docs/many-phones.md says of many machines, run on this
# one as it stands there, prints what one process prints.
set -eu

manual=$(cd "$(dirname "$0")/../../docs" && pwd)/many-phones.md
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"

mkdir bin traces
printf '#!/bin/sh\nexec %s "$@"\n' "${2:-} $1" >bin/ksbrain
chmod +x bin/ksbrain
PATH=$work/bin:$PATH HOME=$work TZ=UTC
export PATH HOME TZ

for phone in 1 2 3 4 5 6 7; do
    awk -v phone=$phone 'BEGIN {
        print "time,package"
        for (i = 0; i < 150 * phone; ++i) print 1709280000 + 4000 * i ",com.app" (i * i + int(i / 5)) % (2 + phone)
    }' >traces/$phone.csv
done
ksbrain compare traces >table
ksbrain compare --json --total traces >total

# The commands in the fenced block that follows a heading.
block() {
    awk -v heading="### $1" '$0 == heading { wanted = 1 }
        /^```/ { inside = wanted && $0 == "```sh"; if ($0 == "```") wanted = 0; next }
        inside' "$manual"
}

same_as_one_process() {
    cmp table "$1.table"
    shift
    ksbrain merge --json "$@" | cmp total -
}

echo : >hosts
block 'GNU parallel over hosts' >parallel.sh
sh -eu parallel.sh >parallel.table
same_as_one_process parallel scores.jsonl
sh -eu parallel.sh >again.table  # has nothing left to do
same_as_one_process again scores.jsonl

find traces -type f | sort >traces.list
block "A batch scheduler's job array" >compare.sh
for task in 1 2 3; do
    SLURM_ARRAY_TASK_ID=$task SLURM_ARRAY_TASK_COUNT=3 sh -eu compare.sh
done
ksbrain merge scores/*.jsonl >array.table
same_as_one_process array scores/*.jsonl
