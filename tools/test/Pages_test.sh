#!/bin/sh
# Pages_test.sh PROGRAM [EMULATOR]: does what README.md and docs/*.md say, command by command as they stand there: the
# README with a phone and without one in an empty folder, a page with the README's phone.csv. What this machine or a test
# cannot run is listed with the reason. What a page shows (a block marked "text", where ... stands for more) is printed.
set -eu
. "$(dirname "$0")/PageCommands.sh"
export LC_ALL=C.UTF-8

fail() {
    echo "$1" >&2
    exit 1
}

# A phone that remembers two weeks, and somebody else's table of two users.
cat >bin/adb <<'END'
#!/bin/sh
[ "$*" = "shell dumpsys usagestats -c" ] || exit 1
printf 'user=0\n  Last 24 hour events (timeRange="1709280000000-1710489600000")\n'
awk 'BEGIN {
    for (i = 0; i < 1500; ++i) {
        app = i % 7 == 0 ? "com.miui.home" : "com.example.app" (i * i + int(i / 5)) % 9
        printf "    time=%.0f type=ACTIVITY_RESUMED package=%s class=Main\n", 1709280000000 + 800000 * i, app
    }
}'
END
chmod +x bin/adb
printf 'user_id\tsession_id\ttimestamp\tapp_name\tevent_type\n%s\n%s\n' \
    "$(printf '0\t1\t2018-01-16 06:01:05\tGoogle Chrome\tOpened')" \
    "$(printf '7\t2\t2018-01-16 07:01:05\tMaps\tOpened')" | gzip >lsapp.tsv.gz

private=yes
[ -z "${2:-}" ] && "$source/platform/workstation/private-data.sh" trial true 2>reason || private=

# Why a line is not run; nothing is printed for one that is.
obstacle() { # LINE
    case $1 in
    "make "*) echo "builds everything" ;;
    "cmake "* | *build-alone/*) echo "needs a build of its own" ;;
    *" serve --root "* | *phone/system/*) [ "$private" ] || echo "needs private mounts" ;;
    "adb "* | "ksbrain convert dump.txt "*) [ "$phone" ] || echo "without a phone" ;;
    "ksbrain synth -o phone.csv"*) [ -z "$phone" ] || echo "with a phone" ;;
    "systemctl "* | "sudo "*) echo "changes the machine" ;;
    "ksbrain-desktop run --verbose"*) echo "watches a desktop until it is stopped" ;;
    *ksbrain-desktop*) [ -e "$work/bin/ksbrain-desktop" ] || echo "ksbrain-desktop is not built here" ;;
    esac
}

# Runs what a page says in a folder, and holds what it shows against what was printed.
run() { # PAGE FOLDER
    fenced sh "$1" >commands
    [ -s commands ] || fail "$1 has no commands"
    while IFS= read -r line; do
        reason=$(obstacle "$line")
        if [ "$reason" ]; then
            echo "$1: not run ($reason): $line" >&2
        else
            printf '%s\n' "$line"
        fi
    done <commands >script
    (cd "$2" && sh -eux ../script) >printed 2>said || fail "$1: $(tail -n 5 said)"
    fenced text "$1" | grep -vxF ... >quoted || true
    while IFS= read -r line; do
        grep -qxF -- "$line" printed || fail "$1 shows what its commands do not print: $line"
    done <quoted
}

for phone in "" yes; do
    mkdir "readme$phone"
    run README.md "readme$phone"
    [ -s "readme$phone/report.html" ] || fail "no report"
    sed -n '/ openings of 1 trace;/,/^sequence network/p' printed >table
    [ -s table ] || fail "compare prints no table"
    ! grep -n '.\{81,\}' table || fail "the table is wider than 80 columns"
    [ -z "$private" ] || grep -q '^{"predict":\["com' printed || fail "the engine that is served predicts nothing"
done

for path in "$source"/docs/*.md; do
    page=docs/${path##*/}
    ! fenced '' "$page" | grep '^\(ksbrain [a-z]\|adb \|make \|cmake \)' || fail "$page: mark its commands \"sh\""
    if [ "$page" = docs/many-phones.md ]; then
        echo "$page: ManyPhones_test.sh runs it" >&2
    elif [ "$(fenced sh "$page")" ]; then
        mkdir page
        cp readme/phone.csv lsapp.tsv.gz page
        run "$page" page
        rm -r page
    fi
done
[ -z "$(ls tmp)" ] || fail "left behind: $(ls tmp)"
