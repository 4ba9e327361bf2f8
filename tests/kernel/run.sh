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

Boots Debian's kernel in a virtual machine with the simulated phone, has a kernel module send packets
to the daemon, and checks the results. At the end, the daemon's own trigger crashes the kernel. The
machine is emulated, without KVM. DIR is the build directory (default: build/default), or the directory
for kernel and headers (build/kernel-cache), which are downloaded as packages and not installed.

Prints "PASS NAME" or "FAIL NAME: WHY" for each check, and stops at the first failure. The machine's
console is in build/kernel-test/console.log. Exit status: 0 all checks passed; 1 one failed or the
machine did not start; 2 wrong usage; 77 skipped: a program or a download is not available.
END
}

end() {  # STATUS TEXT
    echo "kernel test: $2" >&2
    exit "$1"
}

timed() {
    local begin=$EPOCHREALTIME
    "${@:2}" || return
    echo "$1 $begin $EPOCHREALTIME" | awk '{printf "%s: %.1f s\n", $1, $3 - $2}'
}

# An emulated machine on an idle host needs a tenth of the time limit.
boot() {
    rm -f "$out"/{console.log,results}
    timeout --foreground 1200 qemu-system-x86_64 -M q35 -cpu max -accel tcg -m 512 -smp 2 \
        -nodefaults -display none -no-reboot -kernel "$kernel_image" -initrd "$out/initramfs" \
        -append 'console=ttyS0 quiet panic=-1 kavel.may_panic' \
        -serial "file:$out/console.log" -serial "file:$out/results" || [ -f "$out/results" ]
}

# Every check must have passed.
judge() {
    local name status=0
    tr -d '\r' < "$out/results" | grep -v '^END$'
    # shellcheck source=tests/kernel/vm/checks.sh
    for name in $(. "$here/vm/checks.sh" && echo "$CHECKS"); do
        grep -q "^PASS $name " "$out/results" || status=1
    done
    grep -q '^END' "$out/results" || echo 'FAIL machine: it ended before the last check'
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
    --build) build=${2-} ;;
    --cache) cache=${2-} ;;
    -h | --help) usage; exit 0 ;;
    *) end 2 "unknown argument $1 (--help)" ;;
    esac
    shift 2 || end 2 "$1 needs a directory (--help)"
done

[ "$(uname -m)" = x86_64 ] || end 77 "SKIP: the test machine is an x86_64"
for program in qemu-system-x86_64 busybox cpio make gcc-12 dpkg apt-get; do
    command -v $program > /dev/null || end 77 "SKIP: $program is missing (scripts/packages-kernel.txt)"
done
[ -f "$build/host/phone/phone.conf" ] || end 1 "nothing is built in $build"
build=$(cd "$build" && pwd)

out=$root/build/kernel-test
mkdir -p "$out" "$cache" || end 1 "cannot make $out and $cache"
cache=$(cd "$cache" && pwd)
exec 9>> "$out/lock"
flock 9 || end 1 "cannot lock $out"

timed kernel get_kernel || end 77 'SKIP: the packages of the kernel are not available (apt-get update?)'
timed module build_module || end 1 'the module does not build'
timed initramfs build_initramfs || end 1 'the initial file system cannot be packed'
timed machine boot || end 1 "the machine does not start: $(tail -n 5 "$out/console.log" 2> /dev/null)"
judge
