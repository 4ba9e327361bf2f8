# shellcheck shell=bash disable=SC2154,SC2034
# Part of run.sh: the kernel, its headers and the module.

# Sets kernel_abi, kernel_image and kernel_headers: apt's newest kernel, or else the newest in the cache.
get_kernel() {
    kernel_abi=$(kernel_dependency linux-image-cloud-amd64 '^linux-image-')
    kernel_abi=${kernel_abi#linux-image-}
    if [ -z "$kernel_abi" ] || ! { [ -f "$cache/$kernel_abi/complete" ] || download_kernel "$kernel_abi"; }; then
        kernel_abi=$(find "$cache" -mindepth 2 -maxdepth 2 -name complete -printf '%h\n' |
            sed 's|.*/||' | sort -V | tail -n 1)
        [ -n "$kernel_abi" ] || return
        echo "kernel test: no linux-image-cloud-amd64 from apt, $kernel_abi from the cache" >&2
    fi
    kernel_image=$cache/$kernel_abi/boot/vmlinuz-$kernel_abi
    kernel_headers=$cache/$kernel_abi/usr/src/linux-headers-$kernel_abi
}

# Package names that $1 depends on and that match $2. The meta packages name the ABI's number.
kernel_dependency() {
    apt-cache depends --no-recommends --no-suggests "$1" 2> /dev/null |
        awk -v name="$2" '$1 == "Depends:" && $2 ~ name {print $2}'
}

# Downloads kernel and headers of ABI $1 and unpacks them.
download_kernel() {
    local abi=$1 packages deb
    rm -rf "${cache:?}/$abi"
    mkdir -p "$cache/$abi/packages" || return
    packages=$(kernel_dependency "linux-headers-$abi" '^linux-')
    [ -n "$packages" ] || return
    # shellcheck disable=SC2086 # the list is meant to be split
    (cd "$cache/$abi/packages" && apt-get -qq -o APT::Sandbox::User= download \
        "linux-image-$abi" "linux-headers-$abi" $packages) || return
    for deb in "$cache/$abi/packages"/*.deb; do
        dpkg -x "$deb" "$cache/$abi" || return
    done
    # The only absolute path in them.
    sed -i "s|^include /usr/src|include $cache/$abi/usr/src|" \
        "$cache/$abi/usr/src/linux-headers-$abi/Makefile" || return
    rm -rf "${cache:?}/$abi/packages" "${cache:?}/$abi/lib/modules"
    touch "$cache/$abi/complete"
}

# The kernel's build system leaves its files beside the sources.
build_module() {
    rm -rf "$out/module"
    cp -r "$here/module" "$out/module" || return
    make -s -C "$kernel_headers" M="$out/module" modules > "$out/module.log" 2>&1 && return
    cat "$out/module.log" >&2
    return 1
}
