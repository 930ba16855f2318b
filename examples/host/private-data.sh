#!/bin/sh
# private-data.sh DIR COMMAND...: runs the command with DIR as its /data, whether or not the system has
# one. Needs no root's rights; nothing changes for other programs.
set -eu

if [ $# -lt 2 ]; then
    echo "usage: private-data.sh DIR COMMAND..." >&2
    exit 2
fi
mkdir -p "$1/system" # where the engine makes its own folder
data=$(cd "$1" && pwd -P)
shift

own=--mount
unshare $own true 2>/dev/null || own="--mount --map-root-user"

# A new root with everything of the old one and /data. It is mounted where no other folder has to be
# made and cleared away again; binding DIR alone leaves it out. Every step becomes the next one, so that
# a signal to this process reaches the command.
exec unshare $own sh -euc '
    back=$1 data=$2 root=$2/system
    shift 2
    mount -t tmpfs -o mode=0755 private "$root"
    for entry in /*; do
        if [ -L "$entry" ]; then
            cp -P "$entry" "$root$entry"
        elif [ -d "$entry" ] && [ "$entry" != /data ]; then
            mkdir "$root$entry"
            mount --rbind "$entry" "$root$entry"
        fi
    done
    mkdir "$root/data"
    mount --bind "$data" "$root/data"
    exec chroot "$root" env -C "$back" "$@"' sh "$PWD" "$data" "$@"
