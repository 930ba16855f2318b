#!/bin/sh
# check-symbols.sh NAME LIBRARY: fails unless the shared library imports just what imports.txt has for
# NAME (ksbrain, zml), all of it there at level 28, and exports just what exports.txt has for it.
# LIBRARY may be of any machine.
set -eu

name=$1
library=$2
here=$(dirname "$0")
readelf=${READELF:-readelf}

machine=$(LC_ALL=C "$readelf" -h "$library" | awk '$1 == "Machine:" { print $NF }')
symbols=$("$readelf" --dyn-syms -W "$library")

printf '%s\n' "$symbols" | awk -v name="$name" -v machine="$machine" '
    function complain(text) {
        print "lib" name ".so " text
        failed = 1
    }

    BEGIN {
        split("libc libm libdl liblog libcutils libc++ libzml -", known)
        for (i in known) libraries[known[i]]
    }

    list != "symbols" && (NF == 0 || /^#/) { next }

    list == "imports" {
        if (!($1 in libraries)) complain("finds no library " $1 " on the phone: " $4)
        if ($2 + 0 > 28) complain("runs on phones of level " $2 " only, for " $4)
        elsewhere = 0
        for (i = 5; i <= NF; ++i) elsewhere = elsewhere || ($i ~ /^@/ && $i != "@" machine)
        if (($3 == name || $3 == "both") && !elsewhere) allowed[$4]
    }

    list == "exports" && $1 == name { promised[$2] }

    list == "symbols" && $1 ~ /^[0-9]+:$/ && $5 != "LOCAL" && NF >= 8 {
        sub(/@.*/, "", $8)
        if ($7 == "UND") imported[$8]
        else exported[$8]
    }

    END {
        for (s in imported) if (!(s in allowed)) complain("imports " s ", which imports.txt does not list")
        for (s in allowed) if (!(s in imported)) complain("does not import " s " as imports.txt lists")
        for (s in exported) if (!(s in promised)) complain("exports " s ", which exports.txt does not list")
        for (s in promised) if (!(s in exported)) complain("does not export " s " as exports.txt lists")
        exit failed
    }' list=imports "$here/imports.txt" list=exports "$here/exports.txt" list=symbols -
