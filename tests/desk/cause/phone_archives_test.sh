#!/bin/bash
# phone_archives_test.sh KAVELDESK PHONES: the verdicts about the archives that the tests in the
# simulated phone have left below PHONES. Would catch a file of the daemon that kaveldesk cannot read,
# a cause that is missed, and one that is found where there is none.

kaveldesk=$1 phones=$2
status=0
# SUITE/EVENT, and how the verdict's headline begins. Most suites send reports of things that have
# not happened in their phone.
while IFS='|' read -r name expected; do
    suite=${name%/*} event=${name#*/}
    archives=("$phones/$suite/data/persist_log/PLX/de/kavel/kavel_${event}_"*.tar.gz)
    verdict=$("$kaveldesk" cause --json "${archives[0]}" |
        jq -r '.archives[0] | "\(.headline) \(.problems)"') || verdict=failed
    case $verdict in
    "$expected"*' []') ;;
    *) status=1; echo "$name: not '$expected' but '$verdict'" >&2 ;;
    esac
done << 'END'
evidence/anr|com.example.app did not respond: its main thread waits for a lock that thread "sync-worker"
CaptureTest/crash|Not enough evidence:
CommercialTest/reboot|Not enough evidence:
KernelTest/kernel|Not enough evidence:
ReportTest/joined|Not enough evidence:
ReportTest/hostile|Not enough evidence:
RestartTest/killed|Not enough evidence:
END
exit "$status"
