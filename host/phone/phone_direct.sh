# shellcheck shell=bash disable=SC2154,SC2034
# Part of the launcher: creates the phone's paths as links on a machine that forbids namespaces.

# Links on the machine and their targets in $dir. Only a link with exactly its target is removed.
DIRECT_LINKS='/data data
/system system
/system_ext system
/dev/socket sockets
/dev/binder_sockets binder_sockets
/dev/__properties__ properties
/dev/log log
/dev/kernel kernel'

in_container() {
    [ -e /.dockerenv ] || [ -e /run/.containerenv ] || [ -e /run/systemd/container ] ||
        { tr '\0' '\n' < /proc/1/environ | grep -q '^container='; } 2> /dev/null
}

is_ours() {
    [ -L "$1" ] && [ "$(readlink "$1")" = "$2" ]
}

check_direct() {
    local path name
    [ "$(id -u)" -eq 0 ] || die "KAVEL_SANDBOX=direct needs root"
    in_container || die "KAVEL_SANDBOX=direct is for throwaway containers, and this machine does
not look like one"
    while read -r path name; do
        is_ours "$path" "$dir/$name" || { [ ! -e "$path" ] && [ ! -L "$path" ]; } ||
            die "KAVEL_SANDBOX=direct: this machine already has a $path, which is not the phone's"
    done <<< "$DIRECT_LINKS"
}

# Adds the phone's users and groups that the machine does not have, before the machine's own: an id
# that both have gets the phone's name. Saves the machine's lists for remove_direct.
add_accounts() {
    local list line
    for list in passwd group; do
        cp -p "/etc/$list" "$dir/machine.$list" || die "cannot save /etc/$list"
        while read -r line; do
            grep -q "^${line%%:*}:" "$dir/machine.$list" || echo "$line"
        done < "$dir/etc/$list" | cat - "$dir/machine.$list" > "/etc/$list" ||
            die "cannot write /etc/$list"
    done
}

add_links() {
    local path name
    while read -r path name; do
        ln -s "$dir/$name" "$path" || die "cannot create $path"
    done <<< "$DIRECT_LINKS"
}

create_direct() {
    remove_direct  # a launcher that was killed may have left its links
    (add_accounts; add_links) || { remove_direct; exit 1; }
}

remove_direct() {
    local path name list
    while read -r path name; do
        ! is_ours "$path" "$dir/$name" || rm "$path"
    done <<< "$DIRECT_LINKS"
    for list in passwd group; do
        [ ! -f "$dir/machine.$list" ] || { cat "$dir/machine.$list" > "/etc/$list" &&
            rm "$dir/machine.$list"; }
    done
}

# Runs the phone's init on the machine; does not return.
launch_direct() {
    echo "{\"child-pid\": $BASHPID}" > "$dir/info"
    exec env -i "${phone_env[@]}" setpriv --pdeathsig TERM "$dir/system/bin/kavel_init" -- "$@"
}
