#!/bin/sh
# PublicHeaders_test.sh COMPILER [FLAG...]: what a host is given. Each public header compiles alone,
# with none of the others of the tree in reach, in C++17 and C++20 and without a warning. Where host
# and library would lay the shared objects out differently, it says so in exactly one error.
set -eu

tree=$(dirname "$0")/..
headers='base/RefBase.h base/BrainEvent.h brain/BrainMainApi.h'
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

mkdir "$work/base" "$work/brain" "$work/empty"
for header in $headers; do cp "$tree/$header" "$work/$header"; done

# Another standard library: there, but none of libc++.
for name in atomic cstddef cstdint string vector; do : >"$work/empty/$name"; done

# compile HEADER COMPILER FLAG...: compiles a file that includes only this header; what the compiler
# says is in $work/said.
compile() {
    echo "#include \"$1\"" >"$work/host.cpp"
    shift
    "$@" -fsyntax-only -I "$work" "$work/host.cpp" 2>"$work/said"
}

fail() {
    echo "$1:"
    cat "$work/said"
    exit 1
}

# refuse WHY FLAG...: no header compiles, and each says WHY and nothing else.
refuse() {
    why=$1
    shift
    for header in $headers; do
        if compile "$header" "$@"; then fail "$header accepts $*"; fi
        grep -q "error: .*$why" "$work/said" || fail "$header refuses $* without: $why"
        [ "$(grep -c 'error:' "$work/said")" -eq 1 ] || fail "$header refuses $* with more than: $why"
    done
}

for standard in c++17 c++20; do
    for header in $headers; do
        compile "$header" "$@" -stdlib=libc++ -std=$standard -Wall -Wextra -Wpedantic -Wshadow \
            -Wconversion -Werror || fail "$header in $standard"
    done
done

refuse "libc++'s ABI 1 layout" "$@" -std=c++17 -nostdinc++ -isystem "$work/empty"
refuse "libc++'s ABI 1 layout" "$@" -std=c++17 -stdlib=libc++ -D_LIBCPP_ABI_ALTERNATE_STRING_LAYOUT
refuse '64 bits' "$@" -std=c++17 --target=armv7a-linux-androideabi28 -nostdinc++ -isystem "$work/empty" \
    -D_LIBCPP_VERSION=14000
