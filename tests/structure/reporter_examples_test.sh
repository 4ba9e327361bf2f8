#!/bin/sh
# Would catch an example whose parcel or codes differ from the daemon's own proxy.
# usage: reporter_examples_test.sh SOURCE_DIR

cd "$1" || exit 1
# The write calls of both functions, in their order, with Java's names.
writes() {
    sed 's/^ *\(\/\/\|\*\).*//' | grep -o 'data\.write[A-Za-z0-9]*' |
        sed 's/Int32/Int/; s/Int64/Long/; s/String16/String/; s/Bool$/Boolean/'
}
expected=$(sed "/^status_t BnKavelBinder/,\$d" event/IKavelBinder.cpp | writes)
[ "$(echo "$expected" | grep -c InterfaceToken)" = 2 ] || { echo 'the proxy cannot be read'; exit 1; }
for example in device/examples/KavelReporter.*; do
    [ "$(writes < "$example")" = "$expected" ] || { echo "$example writes other values"; exit 1; }
    for text in '"KavelBinderService"' '"KavelBinder"' FLAG_ONEWAY; do
        grep -q "$text" "$example" || { echo "$example lacks $text"; exit 1; }
    done
done
