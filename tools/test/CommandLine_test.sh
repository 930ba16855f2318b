#!/bin/sh
# Uses ksbrain as one does in a shell: reads its help and man pages, completes its command lines, and takes
# its output elsewhere. PROGRAM is the command that runs it, BUILD its build folder, EMULATOR what runs an
# installed one. A bash or groff that is not installed is passed over.
set -eu

dir=$(mktemp -d)
trap 'rm -rf "$dir"' EXIT
cd "$dir"

fail() {
    echo "$1" >&2
    exit 1
}
has() { command -v "$1" >/dev/null; }
expect() { # WANTED GOT NAME
    [ "$1" = "$2" ] || fail "$3: expected \"$1\", got \"$2\""
}

# The help fits a terminal, has an example for each verb, and all of it is in the man pages. They are
# installed beside the libraries, and not part of what a host's developer gets.
cmake --install "$BUILD" --prefix "$dir/prefix" --component tools >log || fail "$(cat log)"
find prefix -name '*.so' -o -path '*/bin/ksbrain' >files
xargs "$(dirname "$0")/../../cmake/check-run-path.sh" <files
expect "ksbrain 1" "$($EMULATOR prefix/bin/ksbrain --version | cut -d . -f 1)" "the installed program"
$PROGRAM --help >help
verbs=$(sed -n '/^Verbs:/,/^$/s/^  \([a-z][a-z]*\) .*/\1/p' help)
[ "$(echo "$verbs" | wc -l)" -gt 3 ] || fail "no verbs in the help"
for verb in $verbs; do
    $PROGRAM "$verb" --help >"help-$verb"
    $PROGRAM help "$verb" | cmp "help-$verb" -
    grep -q '^  ksbrain \|^  .* ksbrain ' "help-$verb" || fail "$verb has no example"
    page=prefix/share/man/man1/ksbrain-$verb.1
    grep -q '^.SH EXAMPLES' "$page" || fail "$verb has no example in its man page"
    sed -n 's/^  \(-[^ ].*\)/\1/p' "help-$verb" | sed 's/   *.*//; s/, / /; s/ [^-].*//' >options
    grep -q -- --help options || fail "$verb: no options in the help"
    for option in $(cat options); do
        sed 's/\\f.//g; s/\\-/-/g' "$page" | grep -q -- "^\(-., \)*$option\([ ,]\|\$\)" ||
            fail "the man page lacks $verb $option"
    done
    ! { has groff && groff -man -ww -Tascii "$page" 2>&1 >/dev/null | grep .; } || fail "the man page of $verb"
done
$PROGRAM help | cmp help -
! grep -n '.\{81,\}' help help-* || fail "help wider than 80 columns"

# Real completion: what is typed, and what is offered.
$PROGRAM completion bash >bash
: >phone.csv
: >"my phone.txt"
in_bash() {
    bash --norc -c 'source "$0"; compopt() { :; }; COMP_WORDS=("$@"); COMP_CWORD=$(($# - 1)); _ksbrain
        printf "%s " "${COMPREPLY[@]}"' ./bash ksbrain "$@" | sed 's/ *$//'
}
has bash && {
    bash -n bash
    expect "replay report" "$(in_bash re)" "bash, a verb"
    expect "--charging" "$(in_bash replay --ch)" "bash, an option"
    expect "always never" "$(in_bash replay --charging '')" "bash, a value"
    expect "never" "$(in_bash replay --charging = n)" "bash, a value after ="
    expect "prefix" "$(in_bash replay --data-dir p)" "bash, a directory"
    expect "my phone.txt" "$(in_bash replay --json m)" "bash, a file"
    expect "--help --version" "$(in_bash --)" "bash, the program's options"
    expect "" "$(in_bash replay --moments '')" "bash, a number"
    expect "bash" "$(in_bash completion '')" "bash, the shell"
    expect "replay report" "$(in_bash help re)" "bash, a verb to be helped with"
}

# A reader that goes away, a disk that is full, and colours only where they are wanted.
status=0
{ $PROGRAM synth --days 200 2>err || echo $? >status; } | head -n 1 >first
expect "141 time,package" "$(cat status first | tr '\n' ' ' | sed 's/ $//')" "with head"
[ ! -s err ] || fail "with head it says: $(cat err)"
$PROGRAM completion bash >/dev/full 2>err || status=$?
expect 1 $status "on a full disk"
expect "ksbrain: error: standard output cannot be written: No space left on device" "$(cat err)" "on a full disk"
! CLICOLOR_FORCE=1 $PROGRAM wrong 2>err || fail "a wrong verb is taken"
grep -q "$(printf '\033')" err || fail "no colours with CLICOLOR_FORCE"
! NO_COLOR=1 CLICOLOR_FORCE=1 $PROGRAM wrong 2>err || fail "a wrong verb is taken"
! grep -q "$(printf '\033')" err || fail "colours with NO_COLOR"

# A zone that the C library would take for UTC without a word; help needs none.
status=0
TZ=Nowhere $PROGRAM synth --days 1 2>err >out || status=$?
expect "2 ksbrain: error: TZ: \"Nowhere\" is no zone known here" "$status $(cut -d , -f 1 err)" "an unknown zone"
TZ=Nowhere $PROGRAM replay --help >out || fail "no help in an unknown zone"

# "-" is standard output wherever one file is written.
printf 'com.a\ncom.b\n' >trace.txt
for command in "synth --days 2" "convert trace.txt" "report trace.txt"; do
    $PROGRAM $command --quiet -o file
    $PROGRAM $command -o - >printed 2>err
    sed -i 's/"command":"[^"]*"//' file printed  # which the page says
    cmp file printed || fail "$command -o -"
    [ ! -e ./- ] || fail "$command makes a file of that name"
    ! grep -q written err || fail "$command: $(cat err)"
    status=0
    $PROGRAM $command -o - >/dev/full 2>err || status=$?
    expect 1 $status "$command -o - on a full disk"
    grep -q '^ksbrain: error: standard output cannot be written' err || fail "$command -o -: $(cat err)"
done

# No file that it opens takes the place of a stream that is closed.
! $PROGRAM replay trace.txt >&- 2>err || fail "all is well with its output closed"
expect "ksbrain: error: standard output cannot be written: Bad file descriptor" "$(cat err)" "with its output closed"
! $PROGRAM replay - <&- 2>err || fail "all is well with its input closed"
expect "ksbrain: error: standard input: cannot be read: Bad file descriptor" "$(cat err)" "with its input closed"
