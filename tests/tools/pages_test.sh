#!/bin/bash
# Checks the files that are made from kavelctl's command table. Would catch text of a row that roff
# takes for a request, a command or option that the man page or completion lacks, and a script that
# completes nothing.
# Usage: pages_test.sh FOLDER-OF-THE-PAGES KAVELCTL...
set -u
pages=$1
shift
failures=0
fail() {
    echo "$1" >&2
    failures=$((failures + 1))
}

page=$(groff -ww -man -Tascii -P-cbou "$pages/kavelctl.1" 2>&1) || fail "groff fails"
case $page in *kavelctl.1:*) fail "groff warns: $(grep kavelctl.1: <<< "$page")" ;; esac
page=$(tr -s ' \n' ' ' <<< "$page")
for command in $("$@" --help | sed -n '/^commands:/,/^$/s/^  \([a-z]*\) .*/\1/p'); do
    usage=$("$@" "$command" --help | sed -n 's/^usage: //p')
    [[ $page == *"$usage"* ]] || fail "the man page has no '$usage'"
    for option in $("$@" "$command" -h | grep -oE '^  (-[a-zA-Z], )?--[a-z-]+' | grep -o -- '--.*'); do
        [[ $page == *"$option "* ]] || fail "the man page has no $option"
    done
done

# shellcheck disable=SC1091
. "$pages/kavelctl.bash" || fail "the completion script fails"
cd "$(mktemp -d)" || exit 1
mkdir folder && touch folder/kavel_a_b@1.tar.gz file
# What is typed, and what bash would complete.
while IFS='>' read -r typed wanted; do
    COMP_LINE=$typed COMP_POINT=${#typed} COMP_WORDBREAKS=$' \t\n"\'@><=;|&(:'
    _kavelctl
    [ "${COMPREPLY[*]}" = "$wanted" ] || fail "'$typed' completes to '${COMPREPLY[*]}', not '$wanted'"
done << 'END'
kavelctl sen>send
kavelctl help exp>explain
kavelctl list --d>--dir
kavelctl list --dir >folder
kavelctl list --dir=fo>folder
kavelctl show folder/kavel_a>folder/kavel_a_b@1.tar.gz
kavelctl show folder/kavel_a_b@>1.tar.gz
kavelctl stats --file fi>file
kavelctl set abn>abnormal_action
kavelctl send 1 --log-info kern>kernel
kavelctl send 1 --log-info=android,kern>android,kernel
kavelctl send 1 --pid >
END
[ "$failures" = 0 ]
