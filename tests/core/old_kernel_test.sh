#!/bin/sh
# old_kernel_test.sh DAEMON: the daemon on a kernel that calls itself 2.6 takes the old dialect, for
# which no stock kernel has a protocol. Would catch a daemon that takes the new one, or that ends
# because of it: the rest must go on without kernel events.
set -u

if [ -e /data/persist_log ]; then
    echo "/data/persist_log exists: the daemon would work on it, not run"
    exit 77
fi
dir=$(mktemp -d)
mkdir "$dir/log" "$dir/binder" "$dir/properties"
KAVEL_HOST_LOG_DIR=$dir/log KAVEL_HOST_BINDER_DIR=$dir/binder \
    KAVEL_HOST_PROPERTY_DIR=$dir/properties KAVEL_HOST_PROPERTY_SOCKET=$dir/none \
    setarch "$(uname -m)" --uname-2.6 "$1" &
daemon=$!

failed=0
await() { # WHAT COMMAND...: for 20 s at most
    what=$1
    shift
    tries=0
    until "$@"; do
        tries=$((tries + 1))
        if [ $tries -gt 200 ]; then
            echo "missing: $what"
            failed=1
            return
        fi
        sleep 0.1
    done
}
# shellcheck disable=SC2317 # called through await
logged() { grep -q "kavel_kevent.*: $1" "$dir/log/main" 2> /dev/null; }

for line in 'GKI2 is false' 'mIsGki2 is false' 'mEventFd -1' 'can not create a socket -1 93'; do
    await "$line" logged "$line"
done
await 'the service' test -S "$dir/binder/KavelBinderService"
kill -0 $daemon || failed=1
[ $failed = 0 ] || cat "$dir/log/main"
kill $daemon
wait $daemon
rm -rf "$dir"
exit $failed
