#!/bin/bash
# Runs the starter set in a phone, then reports one event of each of its types with its mask: each has
# to become a record, whose statistic has the name of the type.

script=$1
deadline=$((SECONDS + 60))
sh "$script" || exit 1
rows=0
while read -r event name _ mask; do
    rows=$((rows + 1))
    kavelctl send "$event" --log-info "$mask" \
        --extra processName:com.example.app,packageVersion:1,eventType:crash || exit 1
    until grep -q "\"logType\"[:,]\"$name\"" /data/persist_log/PLX/statistics.jsonl; do
        [ $SECONDS -lt $deadline ] || { echo "no record of $event ($name)"; exit 1; }
    done 2> /dev/null
done < <(sed -n 's/^0x/0x/p' "$script")
[ $rows -ge 7 ] || { echo "only $rows types"; exit 1; }
# The limit for archives, as init would start it.
$(sed -n 's|^service kavel_prune ||p' /system/phone/kavel_tools.rc) --dry-run
