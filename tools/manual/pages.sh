#!/bin/sh
# pages.sh FOLDER PROGRAM...: makes man pages from what --help prints, ksbrain.1 and one for each verb,
# ksbrain-replay.1 and so on. PROGRAM is the command that runs ksbrain.
set -eu

folder=$1
shift
mkdir -p "$folder"
rm -f "$folder"/ksbrain*.1

page() { # NAME SEE-ALSO COMMAND...
    name=$1
    others=$2
    shift 2
    about=$("$@" --help | sed '/^$/q' | tr '\n' ' ' | sed 's/\. .*//')
    printf '[SEE ALSO]\n%s\n' "$others" |
        help2man --no-info --name "$about" --version-string "$name (ksbrain) $version" --include /dev/stdin \
            --output "$folder/$name.1" "$(printf "'%s' " "$@")"
}

version=$("$@" --version | sed 's/.* //')
verbs=$("$@" --help | sed -n '/^Verbs:/,/^$/s/^  \([a-z][a-z]*\) .*/\1/p')
page ksbrain "$(printf 'ksbrain-%s(1)\n' $verbs)" "$@"
for verb in $verbs; do
    page "ksbrain-$verb" "ksbrain(1)" "$@" "$verb"
done
