#!/bin/sh
# check-hardening.sh LIBRARY: fails unless the shared library has the properties that an image expects
# of it. LIBRARY may be of any machine.
set -eu

library=$1
readelf=${READELF:-readelf}
export LC_ALL=C

header=$("$readelf" -hW "$library")
segments=$("$readelf" -lW "$library")
dynamic=$("$readelf" -dW "$library")
symbols=$("$readelf" --dyn-syms -W "$library")
notes=$("$readelf" -nW "$library")
failed=0

# wanted PROPERTY TEXT PATTERN, refused PROPERTY TEXT PATTERN: a line of the text matches, or none does.
wanted() {
    printf '%s\n' "$2" | grep -Eq "$3" || { echo "$library: $1: nothing matches $3"; failed=1; }
}
refused() {
    ! printf '%s\n' "$2" | grep -E "$3" || { echo "$library: $1"; failed=1; }
}

wanted 'position-independent' "$header" 'Type: +DYN'
wanted 'relocations read-only' "$segments" '^ *GNU_RELRO'
wanted 'bound at once' "$dynamic" 'FLAGS_1.*NOW'
wanted 'stays mapped' "$dynamic" 'FLAGS_1.*NODELETE'
wanted 'the stack is declared' "$segments" '^ *GNU_STACK'
refused 'executable stack' "$segments" '^ *GNU_STACK.* RWE? *E'
refused 'text relocations' "$dynamic" 'TEXTREL'
refused 'writable code' "$segments" '^ *LOAD.* RWE'
wanted 'stack protector' "$symbols" '__stack_chk_fail'
wanted 'fortified calls' "$symbols" '__vsnprintf_chk'
refused 'pages of other than 16 KiB' "$(printf '%s\n' "$segments" | grep '^ *LOAD')" '0x(10|100|1000|2000)$'
wanted 'build id' "$notes" 'Build ID: [0-9a-f]{40}'
# Catching is allowed: exceptions of the C++ library end the process at one place, with a line in the log.
refused 'throws exceptions' "$symbols" '__cxa_(throw|rethrow|allocate_exception)'
refused 'run-time type information' "$symbols" '__class_type_infoE|__dynamic_cast'
exit $failed
