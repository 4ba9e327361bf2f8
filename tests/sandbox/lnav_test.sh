#!/bin/bash
# Reads the archive of the evidence test with lnav. Would catch a format file that lnav refuses, and
# lines without a level, time or tag. usage: lnav_test.sh COLLECTION_DIR FORMAT_FILE

folder=$(mktemp -d) || exit 1
trap 'rm -rf "$folder"' EXIT
mkdir -p "$folder/lnav/formats/kavel" && cp "$2" "$folder/lnav/formats/kavel" || exit 1
tar xzf "$(ls -t "$1"/*.tar.gz | head -n 1)" -C "$folder" || exit 1
cd "$folder"/data/persist_log/kavel30/kavel_* || exit 1
failed=0

expect() { # TEXT QUERY FILE: compares lnav's answer with TEXT
    local answer
    answer=$(HOME=$folder lnav -n -I "$folder/lnav" -c ";$2" -c ':write-csv-to -' "$3" 2>&1 | sed 1d | tr -d '\r')
    [ "$answer" = "$1" ] || { echo "$3: '$answer', expected '$1', for $2"; failed=1; }
}

newest=$(ls android-* | tail -n 1)
expect "$(grep -c '^[0-9][0-9]-[0-9][0-9] ' "$newest")" \
    'SELECT count(*) FROM kavel_logcat WHERE tag > "" AND pid > 0' "$newest"
for level in I:info W:warning E:error; do
    expect "$(grep -cE "^[-0-9]+ [0-9:.]+ +[0-9]+ +[0-9]+ ${level%%:*} " "$newest")" \
        "SELECT count(*) FROM kavel_logcat WHERE log_level = '${level#*:}' AND tag > ''" "$newest"
done
anr=$(grep -m 1 'E ActivityManager: ANR in' "$newest")
expect "ActivityManager,$(date +%Y)-${anr:0:18}" \
    'SELECT tag, log_time FROM kavel_logcat WHERE log_body LIKE "ANR in com.%"' "$newest"
kernel=$(ls kernel-* | tail -n 1)
expect "$(grep -cE '^\[ *[1-9][0-9]*\.' "$kernel")" \
    'SELECT count(*) FROM kavel_kernel WHERE log_time > "1970-01-01 00:00:01.21" OR log_body LIKE "rtc%"' "$kernel"
expect "error,error" 'SELECT (SELECT log_level FROM kavel_kernel WHERE log_body LIKE "INFO: task%"),
    (SELECT log_level FROM kavel_kernel WHERE log_body LIKE "Out of memory%")' "$kernel"
exit $failed
