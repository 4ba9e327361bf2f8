# shellcheck shell=bash disable=SC2154,SC2034
# Part of the launcher: isolates the phone from the machine.

# Capabilities that the phone's init needs; services get no others. They do not allow mounting,
# which could make the machine's files visible, modules, raw devices, reboot or setting the clock.
# net_admin is for the size of a socket buffer: the phone has only its own, empty network.
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
        die "this machine forbids a separate /proc for the phone ($reason). The phone would share
the machine's processes, and its daemon could signal any of them. In a throwaway container,
KAVEL_SANDBOX=shared-pids allows that."
    fi
    die "this machine forbids new namespaces ($probe_error), without which the phone cannot be
isolated. In a throwaway container without its own /data, KAVEL_SANDBOX=direct creates the phone's
paths directly on the machine and removes them afterwards."
}

probe() {
    probe_error=$(bwrap --ro-bind / / "${isolation[@]}" --dev /dev -- true 2>&1)
}

# Creates the parent folders of $1 for all users: those that bubblewrap itself creates are only for
# root.
add_parents() {
    local parent='' name
    while read -r -d / name; do
        parent+=${name:+/$name}
        [ -z "$parent" ] || args+=(--dir "$parent")
    done <<< "$1"
}

# Runs the phone's init in the sandbox; does not return.
launch() {
    # The phone's init gets the terminal's interrupt itself. It must not end bubblewrap, because
    # that would kill init before it has shut the phone down.
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
    # The programs are in the build folder, the settings of the sanitizers in tests/.
    for name in "$BUILD_DIR" "$SOURCE_DIR/tests"; do
        add_parents "$name"
        args+=(--ro-bind "$name" "$name")
    done
    args+=("${isolation[@]}")
    # The phone cannot change kernel settings, and its sysrq-trigger is a plain file.
    [ "$sandbox" = shared-pids ] || args+=(--ro-bind-try /proc/sys /proc/sys)
    if [ "$sandbox" = namespaces ]; then
        args+=(--as-pid-1)
        [ ! -e /proc/sysrq-trigger ] || args+=(--bind "$dir/sysrq-trigger" /proc/sysrq-trigger)
    fi
    args+=(--ro-bind-try /sys /sys --dev /dev --bind "$dir/kernel" /dev/kernel)
    # The phone's own files of its kernel, where this machine has such a file.
    for name in "$dir"/kernel/proc/*; do
        [ ! -e "/proc/${name##*/}" ] || args+=(--ro-bind "$name" "/proc/${name##*/}")
    done
    args+=(--tmpfs /sys/kernel --ro-bind "$dir/kernel/debug" /sys/kernel/debug
        --bind "$dir/sockets" /dev/socket --bind "$dir/binder_sockets" /dev/binder_sockets
        --bind "$dir/properties" /dev/__properties__ --bind "$dir/log" /dev/log
        --bind "$dir/data" /data --ro-bind "$dir/system" /system --symlink system /system_ext
        --remount-ro / --chdir / --die-with-parent --cap-drop ALL)
    for name in $CAPABILITIES; do args+=(--cap-add "cap_$name"); done
    exec env -i "${phone_env[@]}" bwrap "${args[@]}" --info-fd 8 \
        -- /system/bin/kavel_init -- "$@" 8> "$dir/info"
}

# Sets the phone's environment: only a few of the caller's variables, so that runs are alike.
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
