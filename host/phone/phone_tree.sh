# shellcheck shell=bash disable=SC2154,SC2034
# Part of the launcher: creates the phone's files below $dir.

# Tools from toybox, as on Android, because Debian's have other output or options.
TOYBOX_TOOLS='find head pidof tar xargs'

copy_files() {
    cp "$SOURCE_DIR/device/dravo_kavel.rc" "$1/phone.rc" "$dir/system/etc/init" &&
        cp "$1/build.prop" "$dir/system" &&
        cp "$1"/{demo,packages.xml} "$dir/system/phone" &&
        cp "$SOURCE_DIR/device/kavel_starter_set.sh" "$dir/system/bin/kavel_starter_set" &&
        cp "$SOURCE_DIR/device/kavel_tools.rc" "$dir/system/phone" &&
        cp -r "$1/text" "$dir/system/phone" && cp -r "$1/text/kernel" "$dir" &&
        cp "$1/services"/* "$dir/system/phone/services" &&
        cp "$1/bin"/* "$dir/system/bin" &&
        cp "$1"/{passwd,group} "$dir/etc"
}

create_tree() {
    local fresh=$1 program tool
    [ -z "$fresh" ] || rm -rf "${dir:?}"/{data,log,properties,sysrq-trigger} || die "cannot empty $dir"
    rm -rf "${dir:?}"/{sockets,binder_sockets,system,kernel,etc}
    mkdir -p "$dir"/{data,log,properties,sockets,binder_sockets,etc} \
        "$dir"/system/{bin,etc/init,phone/services} || die "cannot create the folders of $dir"
    # Services of every user write to these folders.
    chmod 0777 "$dir/log" "$dir/binder_sockets"
    # Replaces the kernel's file, which the phone's group system may write.
    touch "$dir/sysrq-trigger" && chmod 0666 "$dir/sysrq-trigger"

    copy_files "$SOURCE_DIR/host/phone" || die "the phone's own files are not complete"
    echo 'passwd: files
group: files' > "$dir/etc/nsswitch.conf"

    for program in "${PROGRAMS[@]}"; do
        if [ ! -x "$program" ]; then
            echo "phone: $program is not built, so the phone does not have it" >&2
            continue
        fi
        ln -s "$program" "$dir/system/bin/${program##*/}"
    done
    for tool in $TOYBOX_TOOLS; do
        ln -s /usr/bin/toybox "$dir/system/bin/$tool"
    done
    ln -s /usr/bin/dash "$dir/system/bin/sh"
}
