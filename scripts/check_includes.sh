#!/bin/sh
# Checks the #include lines of our sources against include_rules.txt.

usage() {
    echo "usage: check_includes.sh [ROOT]

Checks the includes of all C++ sources under ROOT (default: this repository) against the table
include_rules.txt beside this script. Prints each violation as FILE:LINE: MESSAGE.

exit codes: 0 all in order, 1 violations, 2 usage or an unreadable table or tree"
}

here=$(cd "$(dirname "$0")" && pwd) || exit 2
case $1 in
    -h | --help) usage; exit 0 ;;
    -*) usage >&2; exit 2 ;;
esac
if [ $# -gt 1 ]; then usage >&2; exit 2; fi
cd "${1:-$here/..}" || exit 2

sources=$(find . \( -path ./build -o -name '.?*' -type d \) -prune -o \
    -type f \( -name '*.h' -o -name '*.cpp' \) -print | sed 's|^\./||' | LC_ALL=C sort)
[ -n "$sources" ] || { echo "check_includes.sh: no sources under $PWD" >&2; exit 2; }

# One awk program reads the table, the list of sources, and then each source.
printf '%s\n' "$sources" | LC_ALL=C awk -v rules="$here/include_rules.txt" '
function matches(pattern, path) {
    if (pattern ~ /\*$/) return index(path, substr(pattern, 1, length(pattern) - 1)) == 1
    return path == pattern || index(path, pattern "/") == 1
}

function report(message) {
    print source ":" line ": " message
    violations = 1
}

# Returns the reason why target must not be included; empty if it may be.
function check(target, quoted,    top, count, allowed, i) {
    top = target
    sub(/\/.*/, "", top)
    if (!(top in ours)) {
        if (quoted) report("\"" target "\" is not written from the root of the repository")
        return
    }
    if (index("/" target "/", "/../")) {
        report("\"" target "\" is not written from the root of the repository")
        return
    }
    if (matches(folder[row], target)) return
    count = split(may[row], allowed, " ")
    for (i = 1; i <= count; ++i) if (matches(allowed[i], target)) return
    report(folder[row] " may not include \"" target "\"")
}

BEGIN {
    while ((status = (getline < rules)) > 0) {
        if ($0 ~ /^[ \t]*(#|$)/) continue
        if ($0 !~ /^[^ \t:]+:/) { print "check_includes.sh: bad row: " $0 > "/dev/stderr"; exit 2 }
        colon = index($0, ":")
        folder[++rows] = substr($0, 1, colon - 1)
        may[rows] = substr($0, colon + 1)
        top = folder[rows]
        sub(/\/.*/, "", top)
        ours[top] = 1
    }
    if (status < 0 || rows == 0) {
        print "check_includes.sh: cannot read " rules > "/dev/stderr"
        exit 2
    }
}

{
    source = $0
    line = 1
    for (row = 1; row <= rows && !matches(folder[row], source); ++row) continue
    if (row > rows) {
        report("its folder has no row in include_rules.txt")
        next
    }
    for (line = 1; (getline text < source) > 0; ++line) {
        if (text !~ /^[ \t]*#[ \t]*include[ \t]*["<]/) continue
        quoted = text ~ /^[^<]*"/
        sub(/^[^"<]*["<]/, "", text)
        sub(/[">].*/, "", text)
        check(text, quoted)
    }
    close(source)
}

END { if (violations) exit 1 }
'
