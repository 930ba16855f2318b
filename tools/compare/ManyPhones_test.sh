#!/bin/sh
# ManyPhones_test.sh PROGRAM [EMULATOR]: the commands of docs/many-phones.md, run as they stand there, give what one
# compare after the other gives; also when they were interrupted, and when one of the files is bad.
set -eu
. "$(dirname "$0")/../test/PageCommands.sh"
mkdir traces

for phone in 1 2 3 4 5 6 7; do
    awk -v phone=$phone 'BEGIN {
        print "time,package"
        for (i = 0; i < 150 * phone; ++i) print 1709280000 + 4000 * i ",com.app" (i * i + int(i / 5)) % (2 + phone)
    }' >traces/$phone.csv
    ksbrain compare --json traces/$phone.csv
done >expected.jsonl
ksbrain merge expected.jsonl >expected
printf 'time,package\n5,com.a\n4,com.b\n' >traces/0.csv

block() { # HEADING
    fenced sh docs/many-phones.md "$1"
}

check_result() {
    block 'The result' >result.sh
    sh -eu result.sh >table
    cmp expected table
    ksbrain report --quiet --from expected.jsonl -o expected.html
    sed -i 's/"command":"[^"]*"//' expected.html report.html
    cmp expected.html report.html
    rm -r scores jobs*.log
}

# Not with -e: the bad file makes it fail. What is done stays done when it is run again.
block 'On all cores' >cores.sh
sh -u cores.sh 2>err && exit 1
grep -q 'traces/0.csv:3: the time runs backwards' err
cp scores/3.jsonl before
sh -u cores.sh 2>err && exit 1
[ scores/3.jsonl -ot before ]
check_result

# Interrupted with some traces done: the seventh is one that does not end. Then it ends, and the bad one is mended.
rm traces/0.csv
mv traces/7.csv seventh
mkfifo traces/7.csv
sed -i 's/-type f/-name "*.csv"/' cores.sh  # as a fifo is none
setsid sh -u cores.sh 2>err &
until [ "$(grep -c ksbrain jobs.log 2>err)" = 6 ]; do sleep 0.1; done
kill -INT -$!
wait $! && exit 1
rm traces/7.csv
mv seventh traces/7.csv
sh -eu cores.sh 2>err
[ "$(grep -c ksbrain jobs.log)" = 7 ]
check_result
[ -z "$(ls tmp)" ]

echo : >hosts
block 'On several machines' >hosts.sh
sh -eu hosts.sh 2>err
check_result

block "A batch system's job array" >array.sh
for task in 1 2 3; do
    SLURM_ARRAY_TASK_ID=$task SLURM_ARRAY_TASK_COUNT=3 sh -eu array.sh
done
check_result
