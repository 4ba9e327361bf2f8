#!/bin/sh
# Would catch a data race, a leak or an overflow of a program in a phone: its report is in the phone's
# log of what its services print, and the case that ran there may have passed.
# Arguments: the folder of the phones.
set -eu
cd "$1"
ls ./*/log/stdio > /dev/null
if grep -H 'Sanitizer:\|runtime error:' ./*/log/stdio; then exit 1; fi
