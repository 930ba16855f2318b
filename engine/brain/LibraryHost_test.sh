#!/bin/sh
# LibraryHost_test.sh PRIVATE_DATA PROGRAM...: runs a host of the library with a /data/system of its own,
# which the script PRIVATE_DATA gives to it. Ends with 77 where that is not allowed.
set -eu

dir=$(mktemp -d)
trap 'rm -rf "$dir"' EXIT
private_data=$1
shift
"$private_data" "$dir" true || exit 77
"$private_data" "$dir" "$@"
