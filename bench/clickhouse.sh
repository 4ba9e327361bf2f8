#!/bin/bash
# Measures the index in ClickHouse: clickhouse.sh BUILD_DIR [ROWS]. Prints lines "measure NAME VALUE".
# Processor time is that of the server and of its client together.
set -eu
build=$1
rows=${2:-1000000}
work=$(mktemp -d)
port=$(python3 -c 'import socket; s = socket.socket(); s.bind(("127.0.0.1", 0)); print(s.getsockname()[1])')
cat > "$work/config.xml" << END
<yandex>
<logger><level>error</level><log>$work/log</log><errorlog>$work/errors</errorlog></logger>
<listen_host>127.0.0.1</listen_host><http_port>$port</http_port>
<path>$work/data/</path><tmp_path>$work/tmp/</tmp_path>
<mark_cache_size>100000000</mark_cache_size>
<users_config>$work/config.xml</users_config>
<default_profile>default</default_profile><default_database>default</default_database>
<profiles><default/></profiles><quotas><default/></quotas>
<users><default><password/><networks><ip>127.0.0.1</ip></networks>
<profile>default</profile><quota>default</quota></default></users>
</yandex>
END
/usr/sbin/clickhouse-server --config-file="$work/config.xml" > "$work/output" 2>&1 &
server=$!
trap 'kill -9 $server; wait $server 2> /dev/null || true; rm -rf "$work"' EXIT
ask() { curl -sS --fail "http://127.0.0.1:$port/" --data-binary "$1"; }
until ask 'CREATE DATABASE kavel' 2> /dev/null; do
    kill -0 "$server" || { cat "$work/output" >&2; exit 1; }
    sleep 0.1
done
place=clickhouse://127.0.0.1:$port/kavel
"$build/bench/index_bench" rows "$place" "$rows"
bytes=$(ask "SELECT sum(bytes_on_disk) FROM system.parts WHERE active AND database = 'kavel'")
echo "measure bytes_per_catch $((bytes / rows))"
"$build/bench/index_bench" questions "$place" "$server"
