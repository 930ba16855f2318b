#!/bin/sh
# Session_test.sh DAEMON: a session under Xvfb with a window manager. Five applications are launched and switched
# between as a person does who does things in turn; the daemon has to foresee that, read ahead for one that
# was closed, and go on where it was after a kill.
set -eu

daemon=$1
for program in Xvfb openbox xdotool xterm; do
    command -v $program >/dev/null || { echo "$program is not installed"; exit 77; }
done

work=$(mktemp -d)
export HOME="$work" XDG_STATE_HOME="$work/state"
end() {
    kill $(cat "$work"/*.pid) 2>/dev/null || true
    wait
    rm -rf "$work"
}
trap end EXIT
fail() {
    echo "$1" >&2
    tail -40 "$work/log" >&2
    exit 1
}

# until_true SECONDS COMMAND...: asks ten times a second.
until_true() {
    for _ in $(seq $((10 * $1))); do
        ! (shift && "$@") >/dev/null 2>&1 || return 0
        sleep 0.1
    done
    return 1
}

Xvfb -displayfd 3 -screen 0 800x600x24 3>"$work/display" 2>"$work/server" & echo $! >"$work/server.pid"
until_true 20 test -s "$work/display" || { cat "$work/server"; exit 77; }
DISPLAY=:$(cat "$work/display")
export DISPLAY
openbox >"$work/openbox" 2>&1 & echo $! >"$work/openbox.pid"
until_true 20 xdotool get_num_desktops || { cat "$work/openbox"; exit 77; }

start() {
    "$daemon" run --verbose --settle 300 --places 2 >>"$work/log" 2>"$work/errors" & echo $! >"$work/daemon.pid"
    starts=$((starts + 1))
    until_true 20 has_started || fail "the daemon did not start: $(cat "$work/errors")"
}
starts=0
has_started() { [ "$(grep -c '^watching' "$work/log")" -eq $starts ]; }

# fronts: the changes that the daemon has seen.
fronts() { grep -c '^front' "$work/log" || true; }
has_seen() { [ "$(fronts)" -ge "$1" ]; }

# launch NAME: a program of that class, whose window comes to the front.
launch() {
    seen=$(fronts)
    xterm -class "$1" -name "$1" -title "$1" -e sleep 1000 & echo $! >"$work/$1.pid"
    until_true 20 has_seen $((seen + 1)) || fail "$1 was launched, and the daemon did not see it"
}

# switch NAME...: to the windows, one after the other.
switch() {
    for name; do
        seen=$(fronts)
        # A window that vanishes while xdotool looks ends it.
        until_true 20 xdotool search --classname "^$name\$" windowactivate || fail "$name has no window"
        until_true 20 has_seen $((seen + 1)) || fail "$name came to the front, and the daemon did not see it"
    done
}

# hits: how many of the last 20 changes were foreseen.
hits() { grep '^front' "$work/log" | tail -20 | grep -c 'of the prediction' || true; }

start
for name in Mail Browser Editor Music Files; do
    launch $name
    until_true 20 grep -q "^needs $name: " "$work/log" || fail "what $name needs was not recorded"
done
for _ in 1 2 3 4 5 6 7 8; do switch Mail Editor Browser Editor Music Files; done
[ "$(hits)" -ge 18 ] || fail "of the last 20 changes only $(hits) were foreseen"

kill -9 "$(cat "$work/daemon.pid")"
wait "$(cat "$work/daemon.pid")" || true
start
until_true 20 grep -q '^front Files' "$work/log"
for _ in 1 2 3 4; do switch Mail Editor Browser Editor Music Files; done
[ "$(hits)" -ge 18 ] || fail "after a kill only $(hits) of the last 20 changes were foreseen"

# An application that is closed is read ahead for, and its next launch is counted.
kill "$(cat "$work/Music.pid")"
switch Browser Editor
until_true 20 sh -c "tail -1 '$work/log' | grep -q '^read ahead .*: done'" || fail "nothing was read ahead"
launch Music
grep '^front Music, launched: number' "$work/log" >/dev/null || fail "the launch was not foreseen"
until_true 20 sh -c "tail -1 '$work/log' | grep -q '^read ahead'" || fail "the launch was not settled"

kill "$(cat "$work/daemon.pid")"
wait "$(cat "$work/daemon.pid")" || fail "the daemon did not end well"
[ ! -s "$work/errors" ] || fail "the daemon complained: $(cat "$work/errors")"

# A flood of names, or of what is none, does not keep it from ending.
for line in "$(printf 'com.a\ncom.b')" 'a b c'; do
    status=0
    yes "$line" | timeout --foreground --kill-after=20 1 "$daemon" run --stdin --state "$work/flood" 2>/dev/null || status=$?
    [ $status -eq 124 ] || fail "the daemon did not end while lines came: $status"
done

"$daemon" status --json | grep -q '"foreseen":1' || fail "$("$daemon" status)"
"$daemon" status
