#!/bin/bash
# Tests the daemon against a real kernel: see usage.

set -u
here=$(cd "$(dirname "$0")" && pwd)
root=$(cd "$here/../.." && pwd)
# shellcheck source=tests/kernel/kernel.sh
. "$here/kernel.sh"
# shellcheck source=tests/kernel/tree.sh
. "$here/tree.sh"

usage() {
    cat << 'END'
Usage: tests/kernel/run.sh [--build DIR] [--cache DIR]

Boots Debian's kernel in a virtual machine with the simulated phone in it, has a kernel module
send packets to the daemon, and checks what becomes of them. The last act is the daemon's own trigger
of a kernel panic. Emulated throughout: no KVM. Kernel
and headers are downloaded as packages and unpacked into the cache; nothing is installed.

  --build DIR  where the programs were built (default: build/default)
  --cache DIR  keeps kernel and headers from run to run (default: build/kernel-cache)

Prints "PASS NAME" or "FAIL NAME: WHY" for each check. The machine's console stays in
build/kernel-test/console.log.

Exit status: 0 all checks passed; 1 one failed or the machine did not come up; 2 wrong usage;
77 skipped, because a program or a download cannot be had here.
END
}

skip() {
    echo "SKIP kernel test: $1" >&2
    exit 77
}

die() {
    echo "kernel test: $1" >&2
    exit 1
}

usage_error() {
    echo "kernel test: $1 (--help)" >&2
    exit 2
}

timed() {
    local begin=$EPOCHREALTIME
    "${@:2}" || return
    echo "$1 $begin $EPOCHREALTIME" | awk '{printf "%s: %.1f s\n", $1, $3 - $2}'
}

# Seconds; an emulated machine on a busy host needs a tenth of it.
BOOT_LIMIT=300

boot() {
    rm -f "$out"/{console.log,results}
    timeout --foreground "$BOOT_LIMIT" qemu-system-x86_64 -M q35 -cpu max -accel tcg -m 512 -smp 2 \
        -nodefaults -display none -no-reboot -kernel "$kernel_image" -initrd "$out/initramfs" \
        -append 'console=ttyS0 quiet panic=-1 kavel.may_panic' \
        -serial "file:$out/console.log" -serial "file:$out/results" || [ -f "$out/results" ]
}

# Every check has to have passed, and all of them to have run.
judge() {
    local name status=0
    tr -d '\r' < "$out/results" | grep -v '^END$'
    # shellcheck source=tests/kernel/vm/checks.sh
    for name in $(. "$here/vm/checks.sh" && echo "$CHECKS"); do
        grep -q "^PASS $name " "$out/results" || status=1
    done
    grep -q '^END' "$out/results" || { echo 'FAIL machine: it ended before the last check'; status=1; }
    if grep -q 'Kernel panic - not syncing: sysrq triggered crash' "$out/console.log"; then
        echo 'PASS phone_triggers_panic'
    else
        echo 'FAIL phone_triggers_panic: the console shows no such panic'
        status=1
    fi
    [ "$status" = 0 ] || tail -n 100 "$out/console.log" >&2
    return "$status"
}

build=$root/build/default
cache=$root/build/kernel-cache
while [ $# -gt 0 ]; do
    case $1 in
    --build | --cache)
        [ $# -gt 1 ] || usage_error "$1 needs a directory"
        if [ "$1" = --build ]; then build=$2; else cache=$2; fi
        shift
        ;;
    -h | --help) usage; exit 0 ;;
    *) usage_error "unknown argument $1" ;;
    esac
    shift
done

[ "$(uname -m)" = x86_64 ] || skip "the test machine is an x86_64"
for program in qemu-system-x86_64 busybox cpio make gcc-12 dpkg apt-get; do
    command -v $program > /dev/null || skip "$program is missing (scripts/packages-kernel.txt)"
done
[ -f "$build/host/phone/phone.conf" ] || die "nothing is built in $build"
build=$(cd "$build" && pwd)

out=$root/build/kernel-test
mkdir -p "$out" "$cache" || die "cannot make $out and $cache"
cache=$(cd "$cache" && pwd)
exec 9>> "$out/lock"
flock 9 || die "cannot lock $out"

timed kernel get_kernel || skip "the kernel's packages cannot be had: $kernel_problem"
timed module build_module || die 'the module does not build'
timed initramfs build_initramfs || die 'the initial file system cannot be packed'
timed machine boot || die "the machine does not start: $(tail -n 5 "$out/console.log" 2> /dev/null)"
judge
