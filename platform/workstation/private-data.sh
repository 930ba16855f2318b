#!/bin/sh
# private-data.sh DIR COMMAND...: runs the command with a /data/system of its own, kept in DIR/system. Needs
# no root's rights, and no /data on the system; nothing changes for other programs.
set -eu

if [ $# -lt 2 ]; then
    echo "usage: private-data.sh DIR COMMAND..." >&2
    exit 2
fi
mkdir -p "$1/system" # where the engine makes its own folder
own=--mount
if ! unshare $own true 2>/dev/null; then
    own="--mount --map-root-user"
    if ! reason=$(unshare $own true 2>&1); then
        echo "${0##*/}: error: $1: no /data of its own: $reason" >&2
        exit 1
    fi
fi
system=$(cd "$1/system" && pwd -P)
shift

# A new root with everything of the old one, but for /data/system. It is mounted on DIR/system, where no
# folder has to be cleared away later; what lies beneath is still the working directory. Every step becomes
# the next one, so that a signal to this process reaches the command.
exec unshare $own sh -euc '
    back=$1 root=$2
    shift 2
    trap "exit 1" EXIT

    mirror() { # FOLDER BUT: makes what is in the folder, but one of it, appear in the new root
        for entry in "$1"/*; do
            if [ "$entry" = "$2" ]; then
                continue
            elif [ -L "$entry" ]; then
                cp -P "$entry" "$root$entry"
            elif [ -d "$entry" ]; then
                mkdir "$root$entry"
                mount --rbind "$entry" "$root$entry"
            fi
        done
    }
    cd "$root"
    mount -t tmpfs -o mode=0755 private "$root"
    mirror "" /data
    mkdir -p "$root/data/system"
    mirror /data /data/system
    mount --no-canonicalize --bind . "$root/data/system"
    exec unshare --root="$root" --wd="$back" "$@"' sh "$PWD" "$system" "$@"
