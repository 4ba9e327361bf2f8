#!/bin/sh
# No program of the build may be able to crash the machine: checks that none of them holds the path
# of the kernel's trigger file.

usage() {
    echo "usage: no_panic_trigger.sh BUILD_DIR PHONE_OBJECT

Searches every program, library and archive below BUILD_DIR. PHONE_OBJECT is the object file of the
phone's own implementation, which does hold the path: it proves that the search can find it.

exit codes: 0 none holds it, 1 one does, 2 usage or a search that proves nothing"
}

case $1 in -h | --help) usage; exit 0 ;; esac
if [ $# -ne 2 ]; then usage >&2; exit 2; fi
path=/proc/sysrq-trigger

grep -qF "$path" "$2" || { echo "$2 does not hold $path: the search is blind" >&2; exit 2; }
files=$(find "$1" -type f \( -perm -u+x -o -name '*.a' -o -name '*.so*' \) -size +1k \
    -exec sh -c 'for f; do head -c 8 "$f" | grep -qE "ELF|<arch>" && echo "$f"; done' sh {} +)
[ -n "$files" ] || { echo "no programs below $1" >&2; exit 2; }
found=$(printf '%s\n' "$files" | tr '\n' '\0' | xargs -0 grep -lF "$path")
[ -z "$found" ] || { echo "$path stands in: $found" >&2; exit 1; }
echo "$(printf '%s\n' "$files" | wc -l) files searched"
