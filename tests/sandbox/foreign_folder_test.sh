#!/bin/sh
# Would catch a launcher that removes files which are not a phone's. usage: foreign_folder_test.sh PHONE

folder=$(mktemp -d) || exit 1
trap 'rm -rf "$folder"' EXIT
mkdir "$folder/etc" && echo ours > "$folder/etc/passwd"
! "$1" run --fresh --dir "$folder" -- true && [ "$(cat "$folder"/*/*)" = ours ]
