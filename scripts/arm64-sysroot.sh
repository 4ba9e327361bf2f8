#!/bin/sh
# Unpacks arm64 Debian's libraries and headers into build/arm64-sysroot, for cross-builds. Installs
# nothing and does not need root: apt uses its own folders, as on an empty arm64 machine, with the
# package sources of this machine. Keeps an existing sysroot if its package list is the same.
set -eu
cd "$(dirname "$0")/.."

sysroot=build/arm64-sysroot
state=build/arm64-apt
log=build/arm64-sysroot.log
# The packages are those of packages.txt, without those of kaveldesk, plus the C library.
packages="libc6-dev $(sed -n "/kaveldesk/,/^$/d; /-dev$/p; /-headers$/p" scripts/packages.txt | tr "\n" " ")"
[ "$(cat $sysroot/packages 2> /dev/null)" != "$packages" ] || exit 0

fail() {
    tail -n 20 $log >&2
    echo "arm64: $1; all of it is in $log" >&2
    exit 1
}

apt() {
    apt-get -q -o APT::Architecture=arm64 -o APT::Architectures::=arm64 -o APT::Sandbox::User= \
        -o Dir::State="$PWD/$state" -o Dir::State::lists="$PWD/$state/lists" \
        -o Dir::State::status="$PWD/$state/status" -o Dir::Cache="$PWD/$state/cache" "$@" >> $log 2>&1
}

echo "arm64: fetching libraries"
rm -rf $sysroot $state
mkdir -p $state/lists/partial $state/cache/archives/partial
: > $state/status
: > $log
apt update || echo "arm64: a source of packages failed, going on with the others" >> $log
# shellcheck disable=SC2086 # the list is meant to be split
apt install -y --download-only --no-install-recommends $packages || fail "cannot fetch the libraries"

echo "arm64: unpacking"
mkdir -p $sysroot/usr/lib
ln -s usr/lib $sysroot/lib
for deb in "$state"/cache/archives/*.deb; do
    dpkg-deb --fsys-tarfile "$deb" |
        tar -x -C $sysroot --keep-directory-symlink --no-same-owner 2>> $log || fail "cannot unpack $deb"
done
# Absolute links must point into the sysroot, not into this machine's root.
find $sysroot -type l -lname '/*' -exec sh -c '
    root=$1; shift
    for link; do ln -sfr "$root$(readlink "$link")" "$link"; done' sh $sysroot {} +
rm -rf $state
echo "$packages" > $sysroot/packages
