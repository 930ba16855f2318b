#!/bin/sh
# setup.sh [PACKAGE...]: installs what building and testing needs on Debian, and the packages named. Does
# nothing when it is all there.
set -eu

packages="clang lld cmake ninja-build libc++-dev libc++abi-dev libclang-rt-dev googletest
    libcli11-dev nlohmann-json3-dev zlib1g-dev catch2 android-liblog-dev pkg-config parallel $*"

# Programs that may be there from elsewhere: the report's page is made with Node and tried in a browser.
# unless_found PACKAGE PROGRAM...: adds the package when none of the programs is found.
unless_found() {
    package=$1
    shift
    for program; do
        command -v "$program" >/dev/null && return
    done
    packages="$packages $package"
}
unless_found nodejs node nodejs
unless_found npm npm
unless_found chromium chromium chromium-browser google-chrome

missing=
for package in $packages; do
    dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q '^install ok installed' ||
        missing="$missing $package"
done
[ -n "$missing" ] || exit 0

if ! command -v apt-get >/dev/null; then
    echo "setup: please install:$missing" >&2
    exit 1
fi
as_root=
if [ "$(id -u)" -ne 0 ]; then
    if ! command -v sudo >/dev/null; then
        echo "setup: please install as root:$missing" >&2
        exit 1
    fi
    as_root=sudo
fi

echo "setup: installing$missing"
log=$(mktemp)
trap 'rm -f "$log"' EXIT
if ! { $as_root apt-get update &&
    $as_root env DEBIAN_FRONTEND=noninteractive apt-get install -y --no-install-recommends $missing; } \
    >"$log" 2>&1; then
    cat "$log" >&2
    exit 1
fi
