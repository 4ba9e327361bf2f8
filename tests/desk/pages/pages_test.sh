#!/bin/bash
# Checks the files that are made from kaveldesk's options, as they are installed and packed. Would
# catch text that roff takes for a request, an option that the man page lacks, a script that completes
# nothing, and a program that needs what the package does not name.
# Usage: pages_test.sh BUILD-FOLDER
set -u
build=$1
failures=0
fail() {
    echo "$1" >&2
    failures=$((failures + 1))
}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work" || exit 1

DESTDIR=$work/dest cmake --install "$build" --component kaveldesk --prefix /opt/x > log || cat log >&2
root=$work/dest/opt/x
program=$root/bin/kaveldesk
[ -s "$root/share/doc/kaveldesk/copyright" ] || fail "the licence is missing"
gunzip -c "$root/share/man/man1/kaveldesk.1.gz" > kaveldesk.1 || fail "the man page is missing"

page=$(groff -ww -man -Tascii -P-cbou kaveldesk.1 2>&1) || fail "groff fails"
case $page in *kaveldesk.1:*) fail "groff warns: $(grep kaveldesk.1: <<< "$page")" ;; esac
page=$(tr -s ' \n' ' ' <<< "$page")
commands=$("$program" --help | sed -n '/^Subcommands:/,$s/^  \([a-z]\+\) .*/\1/p')
[[ $commands == *mask* ]] || fail "the help lists no commands"
for command in $commands; do
    [[ $page == *" kaveldesk $command "* ]] || fail "the man page has no $command"
    for option in $("$program" "$command" --help | grep -oE '^  (-[a-zA-Z],)?--[a-z-]+' | grep -o -- '--.*'); do
        [[ $page == *"$option "* ]] || fail "the man page has no $option"
    done
done

# shellcheck disable=SC1091
. "$root/share/bash-completion/completions/kaveldesk" || fail "the completion script fails"
mkdir files && cd files && touch kavel_a_b@1.tar.gz
# What is typed, and what bash would complete.
while IFS='>' read -r typed wanted; do
    COMP_LINE=$typed COMP_POINT=${#typed} COMP_WORDBREAKS=$' \t\n"\'@><=;|&(:'
    _kaveldesk
    [ "${COMPREPLY[*]}" = "$wanted" ] || fail "'$typed' completes to '${COMPREPLY[*]}', not '$wanted'"
done << 'END'
kaveldesk mas>mask
kaveldesk --v>--version
kaveldesk mask --k>--keep-binary
kaveldesk mask kavel_a>kavel_a_b@1.tar.gz
kaveldesk mask kavel_a_b@>1.tar.gz
kaveldesk mask --map=kav>kavel_a_b@1.tar.gz
kaveldesk timeline --grep kav>
kaveldesk timeline --source kern>kernel
END

cpack --config "$build/CPackConfig.cmake" -B "$work" > "$work/log" 2>&1 || fail "$(cat "$work/log")"
# CPack asks dpkg's database which packages the libraries are from.
if [ -s /var/lib/dpkg/status ]; then
    depends=$(dpkg-deb -f "$work"/kaveldesk_*.deb Depends) || fail "the package is missing"
    for library in libarchive13 libre2 libc6; do
        [[ $depends == *"$library"* ]] || fail "the package does not depend on $library"
    done
else
    echo "not checked, without a database of dpkg: the package's dependencies"
fi
dpkg-deb -x "$work"/kaveldesk_*.deb "$work/unpacked"
"$work/unpacked/usr/bin/kaveldesk" --version > /dev/null || fail "the packed program does not run"
! readelf -d "$work/unpacked/usr/bin/kaveldesk" | grep -E 'RUNPATH|RPATH' || fail "a run path is packed"
[ "$failures" = 0 ]
