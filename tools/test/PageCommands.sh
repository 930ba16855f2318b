# For tests that run the commands of pages as they stand, with the arguments PROGRAM [EMULATOR]: enters an empty
# folder, $work, with the program on the path. $source is the folder of the sources.

source=$(cd "$(dirname "$0")/../.." && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"

mkdir bin tmp
printf '#!/bin/sh\nexec %s "$@"\n' "${2:-} $1" >bin/ksbrain
chmod +x bin/ksbrain
[ ! -x "${1%/*}/ksbrain-desktop" ] || ln -s "${1%/*}/ksbrain-desktop" bin
PATH=$work/bin:$PATH HOME=$work TZ=UTC TMPDIR=$work/tmp
export PATH HOME TZ TMPDIR

# What stands between fences of a kind, "sh" or "text"; of the whole page, or below a heading to the first fence.
fenced() { # KIND PAGE [HEADING]
    awk -v kind="\`\`\`$1" -v heading="### ${3:-}" -v all="${3:-all}" '
        BEGIN { wanted = all == "all" }
        $0 == heading { wanted = 1 }
        /^```/ {
            open = !open
            inside = open && wanted && $0 == kind
            if (!open && all != "all") wanted = 0
            next
        }
        inside' "$source/$2"
}
