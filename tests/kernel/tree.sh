# shellcheck shell=bash disable=SC2154
# Part of run.sh: the machine's file system. It has the simulated phone's files, this machine's
# programs and libraries that they need, and busybox for everything else.

# Commands that busybox has too, but which the phone's services need as they are on this machine.
HOST_PROGRAMS=(/usr/bin/dash /usr/bin/setpriv /usr/bin/toybox)

build_initramfs() {
    local tree=$out/tree
    rm -rf "$tree"
    mkdir -p "$tree"/{usr/{bin,sbin,lib,lib64},checks,etc,data,proc,sys,dev,tmp} &&
        ln -s usr/{bin,sbin,lib,lib64} "$tree" &&
        lay_phone "$tree" && lay_programs "$tree" && lay_busybox "$tree" && link_panic "$tree" &&
        cp "$here/vm/init" "$tree/init" &&
        cp "$here/vm"/{run,lib.sh,checks.sh} "$out/module/kavel_monitor.ko" "$tree/checks" &&
        (cd "$tree" && find . | cpio --quiet -o -H newc -R 0:0) > "$out/initramfs" &&
        rm "$tree/checks/panic"
}

# The launcher's own tree, in a subshell because its files define other names.
lay_phone() (
    # shellcheck disable=SC1091
    . "$build/host/phone/phone.conf"
    # shellcheck disable=SC1091
    . "$build/host/phone/phone_tree.sh"
    dir=$out/phone
    create_tree 1 &&
        cp -a "$dir/system" "$1" &&
        ln -s system "$1/system_ext" &&
        cp "$dir/etc"/* "$1/etc"
)

# Programs come as links to where they were built; in the machine they are files, without the
# debugging information, and with the libraries that they load.
lay_programs() {
    local link file programs=()
    for link in "$1/system/bin"/*; do
        file=$(readlink "$link") || continue
        [[ $file = "$build"/* ]] || continue
        rm "$link" && strip -o "$link" "$file" || return
        programs+=("$file")
    done
    ldd "${programs[@]}" "${HOST_PROGRAMS[@]}" | grep -o '/[^ :]*\.so[^ :]*' | sort -u |
        while read -r file; do
            install -D -m 0755 "$file" "$1$file" || exit
        done || return
    cp "${HOST_PROGRAMS[@]}" "$1/usr/bin" && ln -s dash "$1/usr/bin/sh"
}

lay_busybox() {
    cp "$(command -v busybox)" "$1/usr/bin/busybox" || return
    local applet
    for applet in $(busybox --list); do
        [ -e "$1/usr/bin/$applet" ] || [ -L "$1/usr/bin/$applet" ] ||
            ln -s busybox "$1/usr/bin/$applet" || return
    done
}

# The one program that holds the phone's panic trigger. It is only in the machine's file system.
link_panic() {
    clang++ -static -o "$1/checks/panic" \
        "$build"/tests/kernel/CMakeFiles/kavel_vm_panic.dir/vm/panic.cpp.o \
        "$build"/platform/CMakeFiles/kavel_sysrq_trigger.dir/SysrqTrigger.cpp.o
}
