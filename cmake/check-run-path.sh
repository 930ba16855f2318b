#!/bin/sh
# check-run-path.sh FILE...: fails when a program or library looks for its libraries anywhere but in folders
# with a fixed name or beside itself. An empty entry in a run path means the current directory, where others
# may have put what they like.
set -eu

failed=0
for file; do
    paths=$(LC_ALL=C "${READELF:-readelf}" -dW "$file" | sed -n 's/.*(R[UN]*PATH).*\[\(.*\)\]$/\1/p')
    case ":$paths:" in
        "::") ;; # none at all
        *::* | *:[!/\$]*) echo "$file: the run path $paths leads to the current directory" >&2 && failed=1 ;;
    esac
done
exit $failed
