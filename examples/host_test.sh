#!/bin/sh
# Takes an installed ksbrain as a host's developer does: looks at what is there, builds the example
# outside the tree in both ways against a prefix that has been moved, and runs it. The build says in the
# environment where it lies and how it compiles (see CMakeLists.txt). Ends with 77 where a private /data
# is not allowed.
set -eu

dir=$(mktemp -d)
host=
trap '[ -z "$host" ] || kill "$host" 2>/dev/null; rm -rf "$dir"' EXIT

fail() {
    echo "$1" >&2
    exit 1
}

step() { # NAME COMMAND...: shows the command's output only when it fails
    name=$1
    shift
    "$@" >"$dir/log" 2>&1 || {
        cat "$dir/log" >&2
        fail "$name failed"
    }
}

step "installing" cmake --install "$BUILD" --prefix "$dir/first"
{
    for header in base/BrainEvent.h base/RefBase.h brain/BrainMainApi.h; do
        echo "./include/ksbrain/$header"
    done
    for file in cmake/ksbrain/ksbrainConfig.cmake cmake/ksbrain/ksbrainConfigVersion.cmake \
        libcutils.so libksbrain.so libzml.so pkgconfig/ksbrain.pc; do
        echo "./$LIBDIR/$file"
    done
} | LC_ALL=C sort >"$dir/expected"
(cd "$dir/first" && find . ! -type d | LC_ALL=C sort) >"$dir/installed"
diff -u "$dir/expected" "$dir/installed" || fail "other files than expected are installed"

mv "$dir/first" "$dir/prefix"
cp -R "$(dirname "$0")/host" "$dir/source"
export CXXFLAGS="$SANITIZE_FLAGS"
step "configuring" cmake -S "$dir/source" -B "$dir/build" -G "$GENERATOR" "-DCMAKE_CXX_COMPILER=$CXX" \
    "-DCMAKE_TOOLCHAIN_FILE=$TOOLCHAIN_FILE" "-DCMAKE_SYSROOT=$SYSROOT" \
    "-DCMAKE_PREFIX_PATH=$dir/prefix" "-DCMAKE_FIND_ROOT_PATH=$dir/prefix" --no-warn-unused-cli
step "building" cmake --build "$dir/build"

export PKG_CONFIG_LIBDIR="$dir/prefix/$LIBDIR/pkgconfig"
step "building with pkg-config" "$CXX" ${TARGET:+--target=$TARGET} ${SYSROOT:+--sysroot=$SYSROOT} -fuse-ld=lld \
    -std=c++17 $CXXFLAGS "$dir/source/host.cpp" -o "$dir/by-hand" $(pkg-config --cflags --libs ksbrain) \
    "-Wl,-rpath,$(pkg-config --variable=libdir ksbrain)"
"$(dirname "$0")/../cmake/check-run-path.sh" "$dir/prefix/$LIBDIR"/*.so "$dir/build/ksbrain-host" "$dir/by-hand"

with_data="$(dirname "$0")/../platform/workstation/private-data.sh"
"$with_data" "$dir/data" true || {
    echo "no private /data here, the example was built but not run"
    exit 77
}

complaints() { # the host's own, among the log lines of the engine
    grep "^ksbrain-host: " "$dir/err" || true
}

# Forty openings by turns teach the Bayes model which one follows.
{
    printf 'installed com.a com.b\ncharging off\n'
    for i in 1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16 17 18 19 20; do printf 'com.a\ncom.b\n'; done
} >"$dir/usage"
for program in "$dir/build/ksbrain-host" "$dir/by-hand"; do
    rm -rf "$dir/data"
    "$with_data" "$dir/data" $EMULATOR "$program" <"$dir/usage" >"$dir/out" 2>"$dir/err" ||
        fail "$program: status $?: $(cat "$dir/err")"
    [ "$(wc -l <"$dir/out")" -eq 40 ] || fail "$program: forty openings, but $(wc -l <"$dir/out") answers"
    last=$(tail -n 1 "$dir/out")
    [ "$last" = "com.b -> com.a com.b" ] || fail "$program predicts otherwise: $last"
    [ -z "$(complaints)" ] || fail "$program complains: $(complaints)"
done
[ -s "$dir/data/system/korvi_system/AppPreloadMap" ] || fail "nothing was kept"

# A second start, which goes on with what was learned, refuses a line, and is stopped by a signal.
mkfifo "$dir/in" "$dir/answers"
"$with_data" "$dir/data" $EMULATOR "$dir/by-hand" <"$dir/in" >"$dir/answers" 2>"$dir/err" &
host=$!
exec 3>"$dir/in" 4<"$dir/answers"
printf 'com.b\nopen com.c now\ncom.a\n' >&3
{ read -r first && read -r second; } <&4 || fail "no answers: $(cat "$dir/err")"
[ "$second" = "com.a -> com.b com.a" ] || fail "started again it predicts: $first, $second"
kill -TERM "$host"
status=0
wait "$host" || status=$?
host=
[ "$status" -eq 0 ] || fail "SIGTERM ended it with status $status"
[ "$(complaints)" = "ksbrain-host: line 2 cannot be used: open com.c now" ] || fail "complaints: $(cat "$dir/err")"
