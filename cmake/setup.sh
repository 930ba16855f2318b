#!/bin/sh
# setup.sh PURPOSE...: installs what Debian has for each purpose, as far as it is missing.
#   build     the program and its libraries
#   page      what the report's page is made with
#   tests     the tests
#   browser   the tests of the report's page, and the pictures
#   desktop   the host for a Linux desktop
#   launches  measuring what the host for the desktop saves
#   bench     the benchmarks
#   coverage  measuring what the tests reach
#   arm64     running what was built for 64-bit Arm
#   lint      the checks of the sources
set -eu

packages=

# unless_found PACKAGE PROGRAM...: adds the package when none of the programs is found; they may be
# there from elsewhere.
unless_found() {
    package=$1
    shift
    for program; do
        ! command -v "$program" >/dev/null || return 0
    done
    packages="$packages $package"
}

for purpose; do
    case $purpose in
    build)
        packages="$packages clang lld cmake ninja-build libc++-dev libc++abi-dev
            libcli11-dev nlohmann-json3-dev zlib1g-dev android-liblog-dev"
        ;;
    page)
        unless_found nodejs node
        unless_found npm npm
        ;;
    tests)
        packages="$packages libclang-rt-dev googletest pkg-config parallel help2man
            xvfb openbox xdotool xterm"
        ;;
    browser) unless_found chromium chromium chromium-browser google-chrome ;;
    desktop) packages="$packages pkg-config libxcb1-dev libxcb-ewmh-dev libsqlite3-dev" ;;
    launches)
        packages="$packages xvfb openbox x11-utils wmctrl libfaketime vmtouch abiword chromium evince firefox-esr galculator
            geany gimp gnumeric inkscape libreoffice-calc libreoffice-gtk3 libreoffice-writer mousepad thunar
            viewnior xterm"
        ;;
    bench) packages="$packages catch2 libasio-dev libuv1-dev python3-sklearn" ;;
    arm64) packages="$packages qemu-user-static" ;;
    coverage) packages="$packages llvm" ;;
    lint) packages="$packages clang-format clang-tidy" ;;
    *)
        echo "setup: there is no purpose $purpose" >&2
        exit 2
        ;;
    esac
done

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
# One at a time: a build installs what it needs last while it compiles.
exec 9>"${TMPDIR:-/tmp}/ksbrain-setup-$(id -u).lock"
flock 9
if ! { $as_root apt-get update &&
    $as_root env DEBIAN_FRONTEND=noninteractive apt-get install -y --no-install-recommends $missing; } \
    >"$log" 2>&1 9>&-; then
    cat "$log" >&2
    exit 1
fi
