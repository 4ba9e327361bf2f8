# shellcheck shell=bash disable=SC2154,SC2034
# Part of phone: how the phone is kept apart from the machine.

# What the phone's init needs to boot and its services keep at most. Not among them: mounting
# (so nothing can be uncovered again), modules, raw devices, reboot, the clock. net_admin is for
# the size of a socket buffer; the only network is the phone's own, which is empty.
CAPABILITIES='chown dac_override fowner fsetid kill net_admin setgid setuid setpcap sys_ptrace syslog'

# Sets sandbox (namespaces, shared-pids or direct) and, for the first two, the array isolation.
choose_sandbox() {
    case ${KAVEL_SANDBOX-} in
    '') ;;
    direct) sandbox=direct; check_direct; return ;;
    shared-pids) in_container || die "KAVEL_SANDBOX=shared-pids is for throwaway containers, and\
 this machine does not look like one" ;;
    *) die "KAVEL_SANDBOX is '$KAVEL_SANDBOX': use direct, shared-pids or nothing" 2 ;;
    esac
    command -v bwrap > /dev/null || die "bubblewrap is not installed (package bubblewrap)"

    local base=(--unshare-ipc --unshare-net --unshare-uts --unshare-cgroup-try)
    local user=(--unshare-user --uid 0 --gid 0)
    local own_pids=(--unshare-pid --proc /proc)
    sandbox=namespaces
    if [ "$(id -u)" -eq 0 ]; then
        isolation=("${base[@]}" "${own_pids[@]}")
        probe && return
    fi
    isolation=("${base[@]}" "${user[@]}" "${own_pids[@]}")
    probe && return
    local reason=$probe_error
    isolation=("${base[@]}" "${user[@]}" --ro-bind /proc /proc)
    if probe; then
        [ "${KAVEL_SANDBOX-}" = shared-pids ] && { sandbox=shared-pids; return; }
        die "this machine forbids a /proc of the phone's own ($reason). The phone would share
the machine's processes, and its daemon could signal any of them. In a throwaway container,
KAVEL_SANDBOX=shared-pids allows that."
    fi
    die "this machine forbids new namespaces ($probe_error), without which the phone cannot be
kept apart from it. In a throwaway container without a /data of its own, KAVEL_SANDBOX=direct lays
the phone's paths directly on the machine and removes them afterwards."
}

probe() {
    probe_error=$(bwrap --ro-bind / / "${isolation[@]}" --dev /dev -- true 2>&1)
}

# Makes the folders above $1, open to all: those that bubblewrap makes itself are closed to all
# but root.
add_parents() {
    local parent='' name
    while read -r -d / name; do
        parent+=${name:+/$name}
        [ -z "$parent" ] || args+=(--dir "$parent")
    done <<< "$1"
}

# Runs the phone's init in the sandbox; does not return.
launch() {
    # The phone's init gets the terminal's interrupt itself. Bubblewrap must not end of it, or
    # the phone would be gone before its init could end it in good order.
    trap '' INT
    set_phone_env
    [ "$sandbox" = direct ] && launch_direct "$@"
    local args=(--tmpfs / --ro-bind /usr /usr) link name
    for link in bin sbin lib lib32 lib64 libx32; do
        [ ! -e "/$link" ] || args+=(--symlink "usr/$link" "/$link")
    done
    args+=(--perms 1777 --tmpfs /tmp --dir /etc)
    for name in alternatives ld.so.cache localtime; do
        args+=(--ro-bind-try "/etc/$name" "/etc/$name")
    done
    for name in passwd group nsswitch.conf; do
        args+=(--ro-bind "$dir/etc/$name" "/etc/$name")
    done
    # The programs stand where they were built; the tests' folder holds sanitizer settings.
    for name in "$BUILD_DIR" "$SOURCE_DIR/tests"; do
        add_parents "$name"
        args+=(--ro-bind "$name" "$name")
    done
    args+=("${isolation[@]}")
    # Kernel settings stay the machine's; what is written to sysrq-trigger lands in a file.
    [ "$sandbox" = shared-pids ] || args+=(--ro-bind-try /proc/sys /proc/sys)
    if [ "$sandbox" = namespaces ]; then
        args+=(--as-pid-1)
        [ ! -e /proc/sysrq-trigger ] || args+=(--bind "$dir/sysrq-trigger" /proc/sysrq-trigger)
    fi
    args+=(--ro-bind-try /sys /sys --dev /dev
        --bind "$dir/sockets" /dev/socket --bind "$dir/binder_sockets" /dev/binder_sockets
        --bind "$dir/properties" /dev/__properties__ --bind "$dir/log" /dev/log
        --bind "$dir/data" /data --ro-bind "$dir/system" /system --symlink system /system_ext
        --remount-ro / --chdir / --die-with-parent --cap-drop ALL)
    for name in $CAPABILITIES; do args+=(--cap-add "cap_$name"); done
    exec env -i "${phone_env[@]}" bwrap "${args[@]}" --info-fd 8 \
        -- /system/bin/kavel_init -- "$@" 8> "$dir/info"
}

# The phone's environment: little of the caller's, so that a run depends on little.
set_phone_env() {
    phone_env=(PATH=/system/bin:/usr/bin:/bin HOME=/data KAVEL_PHONE_DATA="$dir/data")
    local name
    for name in $(compgen -e); do
        case $name in
        KAVEL_PHONE_DATA) ;;
        TZ | TERM | LANG | LC_ALL | KAVEL_* | *SAN_OPTIONS) phone_env+=("$name=${!name}") ;;
        esac
    done
}

# Runs a command in the phone whose init is process $1.
enter() {
    local pid=$1 caps=-all name
    shift
    set_phone_env
    [ -d "/proc/$pid" ] || die "the phone in $dir is going down" 3
    if is_ours /data "$dir/data"; then
        exec env -i "${phone_env[@]}" "$@"
    fi
    local into=(-t "$pid" -m -i -n -u)
    [ "$(readlink "/proc/$pid/ns/pid")" = "$(readlink /proc/self/ns/pid)" ] || into+=(-p)
    if [ "$(readlink "/proc/$pid/ns/user")" != "$(readlink /proc/self/ns/user)" ]; then
        into+=(-U --preserve-credentials)
    fi
    for name in $CAPABILITIES; do caps+=,+$name; done
    exec env -i "${phone_env[@]}" nsenter "${into[@]}" \
        setpriv --no-new-privs --bounding-set "$caps" --inh-caps -all "$@"
}
