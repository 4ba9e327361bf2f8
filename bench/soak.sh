#!/bin/bash
# Runs the soak in the simulated phone, in place of its daemon: soak.sh BENCH_DIR REPORTS.
set -eu
setprop ctl.stop dravo_kavel
while pidof dravo_kavel > /dev/null; do sleep 0.1; done
exec "$1/soak_load" "$1/soak_daemon" "$2"
