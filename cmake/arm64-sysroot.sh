#!/bin/sh
# arm64-sysroot.sh BUILD: makes BUILD/sysroot the root of a 64-bit Arm Debian with what building and
# testing needs, and BUILD/emulate, which runs a program under emulation. Does nothing when that is
# done.
#
# The packages are resolved, checked and fetched by apt with a state of its own, and only unpacked: the
# machine's packages and architectures stay as they are.
set -eu

mkdir -p "$1"
build=$(cd "$1" && pwd)
root=$build/sysroot
done=$build/sysroot.done
log=$build/sysroot.log

packages="libc6-dev libc++-dev libc++abi-dev android-liblog-dev
    googletest libcli11-dev nlohmann-json3-dev zlib1g-dev catch2"
# A number to raise whenever this script changes.
edition=2
[ "$(cat "$done" 2>/dev/null)" != $edition ] || exit 0

rm -rf "$root" "$done"
state=$root/apt
mkdir -p "$state/lists/partial" "$state/cache/archives/partial"
: >"$state/status"

with_own_state() {
    "$@" -o APT::Architecture=arm64 -o APT::Architectures=arm64 \
        -o Dir::State="$state" -o Dir::State::status="$state/status" -o Dir::Cache="$state/cache" \
        -o APT::Sandbox::User= -o APT::Install-Recommends=false -o Debug::NoLocking=true
}

fetch() {
    with_own_state apt-get update &&
        # The start files and the compiler's run-time come with the distribution's GCC.
        gcc=$(with_own_state apt-cache depends gcc | sed -n 's/^ *Depends: gcc-\([0-9]*\)$/libgcc-\1-dev/p') &&
        with_own_state apt-get install -y --download-only $packages $gcc
}

echo "setup: fetching an Arm root into $root"
if ! fetch >"$log" 2>&1; then
    cat "$log" >&2
    exit 1
fi

# As a merged system has it, whatever the packages' own age.
mkdir -p "$root/usr/lib"
ln -s usr/lib "$root/lib"
for archive in "$state"/cache/archives/*.deb; do
    dpkg-deb --fsys-tarfile "$archive" | tar -x --keep-directory-symlink -C "$root"
done
find "$root" -type l -lname '/*' | while read -r link; do
    ln -sfr "$root$(readlink "$link")" "$link"
done
rm -rf "$state" "$root/usr/share/doc"

# The emulator cannot make a user namespace, and without root's rights a private mount needs one: so it
# is entered first.
cat >"$build/emulate" <<'END'
#!/bin/sh
set -- qemu-aarch64-static -L "$(dirname "$0")/sysroot" "$@"
if [ "$(id -u)" -ne 0 ] && unshare --user --map-root-user true 2>/dev/null; then
    set -- unshare --user --map-root-user "$@"
fi
exec "$@"
END
chmod +x "$build/emulate"
echo $edition >"$done"
