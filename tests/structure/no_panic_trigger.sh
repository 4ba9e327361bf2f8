#!/bin/sh
# Would catch a program of the build that can crash the machine: one that has the path of the kernel's
# trigger file. PHONE_OBJECT is the phone's own implementation, by which the search is checked.
# usage: no_panic_trigger.sh BUILD_DIR PHONE_OBJECT

path=/proc/sysrq-trigger
grep -qF "$path" "$2" || { echo "$2 does not have $path: the search finds nothing" >&2; exit 2; }
files=$(find "$1" -type f \( -perm -u+x -o -name '*.a' -o -name '*.so*' \) -size +1k \
    -exec sh -c 'for f; do head -c 8 "$f" | grep -qE "ELF|<arch>" && echo "$f"; done' sh {} +)
[ -n "$files" ] || { echo "no programs below $1" >&2; exit 2; }
found=$(printf '%s\n' "$files" | tr '\n' '\0' | xargs -0 grep -lF "$path")
[ -z "$found" ] || { echo "$path is in: $found" >&2; exit 1; }
echo "$(printf '%s\n' "$files" | wc -l) files searched"
