#!/bin/sh
# Would catch a property that is added, renamed or removed in the sources but not in docs/properties.md,
# and one that SELinux would hide from the daemon.
# usage: properties_test.sh ROOT CMAKE_SOURCES; CMAKE_SOURCES has lines of TARGET SOURCE

sources=$(sed -En 's/^(dravo_kavel|kavel) //p' "$2")
cd "$1" || exit 1
work=$(mktemp -d) || exit 1
trap 'rm -rf "$work"' EXIT

# All texts that look like a property, and every first argument of a property function. A control request
# is NAME=SERVICE.
# shellcheck disable=SC2086  # one word for each source
sed -E 's/"(ctl\.[a-z]+)", "([^"]*)"/"\1=\2"/' $sources | tr '\n' ' ' |
    grep -oE -e '"(ctl|debug|init|log|persist|ro|sys|vendor)\.[A-Za-z0-9_.=]+"' \
        -e '([pP]roperty(<[^>]*>)?|property_[gs]et)\( *"[^"]*"' |
    cut -d '"' -f 2 | sort -u >"$work/used"
# shellcheck disable=SC2016  # the quotes of the page
sed -n 's/^| `\([^`]*\)` |.*/\1/p' docs/properties.md | sort >"$work/documented"
sed -En 's/^([^# ]+) .*/\1/p' device/sepolicy/property_contexts | tr '$' = | sort >"$work/labelled"
# The platform's own policy allows every domain to read this one.
grep -vx 'debug.atrace.tags.enableflags' "$work/used" >"$work/to_label"

[ -s "$work/to_label" ] || { echo 'the search finds no property'; exit 1; }
echo 'the sources (<) against docs/properties.md (>):'
diff "$work/used" "$work/documented"
documented=$?
echo 'the sources (<) against property_contexts (>):'
diff "$work/to_label" "$work/labelled" && [ $documented = 0 ]
