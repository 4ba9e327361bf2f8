#!/bin/bash
# Would catch a starter set that does not run as a service on a phone, hides its failures, or names an
# event type or mask that the daemon refuses: each report must become a record, whose statistic has
# the name of the event type. usage: starter_set_test.sh SCRIPT

script=$1
fail() { echo "starter_set_test: $1"; exit 1; }

# The phone's shell stores a here-document in a file, in a folder that a service may not write.
! grep -n '<<' "$script" || fail 'a here-document'
sh "$script" || fail 'the set fails'
rows=0
while read -r event name _ mask; do
    rows=$((rows + 1))
    kavelctl send "$event" --log-info "$mask" \
        --extra processName:com.example.app,packageVersion:1,eventType:crash || exit 1
    deadline=$((SECONDS + 180))
    until grep -q "\"logType\"[:,]\"$name\"" /data/persist_log/PLX/statistics.jsonl; do
        [ $SECONDS -lt $deadline ] || fail "no record of $event ($name)"
    done 2> /dev/null
done < <(sed -n 's/^configure //p' "$script")
[ $rows -ge 7 ] || fail "only $rows types"

mkdir /tmp/refusing
printf '#!/bin/sh\n[ "$1" = status ] || { echo "$2 refused"; exit 1; }\n' > /tmp/refusing/kavelctl
chmod +x /tmp/refusing/kavelctl
! PATH=/tmp/refusing:$PATH sh "$script" 2> /dev/null || fail 'a refused setting is no failure'
logcat -d | grep -q 'kavel_starter_set: 0xf01: 0xf01 refused' || fail 'a refused setting is not logged'
# The limit for archives, as init would start it.
$(sed -n 's|^service kavel_prune ||p' /system/phone/kavel_tools.rc) --dry-run
