#!/bin/bash
# Runs the soak in the simulated phone, in place of its daemon: soak.sh BENCH_DIR REPORTS.
set -eu
setprop ctl.stop dravo_kavel
while pidof dravo_kavel > /dev/null; do sleep 0.1; done
# Without glibc's caches for each thread: they go on filling for most of the soak, which would hide
# a leak. Android's allocator has others.
export GLIBC_TUNABLES=glibc.malloc.tcache_count=0
exec "$1/soak_load" "$1/soak_daemon" "$2"
