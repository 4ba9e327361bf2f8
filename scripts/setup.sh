#!/bin/sh
# Installs the missing packages of a list: packages.txt in this folder, or the argument. Prints
# nothing if all are installed.
set -eu

list=${1:-$(dirname "$0")/packages.txt}
missing=
for package in $(sed 's/#.*//' "$list"); do
    case $package in
        *:*) if command -v "${package%:*}" >/dev/null; then continue; fi ;;
    esac
    package=${package#*:}
    status=$(dpkg-query -W -f='${db:Status-Status}' "$package" 2>/dev/null || true)
    [ "$status" = installed ] || missing="$missing $package"
done
[ -n "$missing" ] || exit 0

as_root=
if [ "$(id -u)" != 0 ]; then
    if ! command -v sudo >/dev/null; then
        echo "setup: these packages are missing and there is neither root nor sudo:$missing" >&2
        exit 1
    fi
    as_root=sudo
fi
echo "setup: installing$missing"
$as_root apt-get update -q
# shellcheck disable=SC2086 # the list is meant to be split
$as_root env DEBIAN_FRONTEND=noninteractive \
    apt-get install -y -q --no-install-recommends $missing
