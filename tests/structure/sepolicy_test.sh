#!/bin/sh
# Would catch a policy that does not compile, a rule that the platform forbids, a rule that is missing,
# and a label that nobody declares. tests/structure/sepolicy is a stand-in for the platform's policy.
# usage: sepolicy_test.sh POLICY_DIR; exit code 77 if checkpolicy or m4 is not installed

policy=$1
stub=$(dirname "$0")/sepolicy
for tool in m4 checkpolicy; do
    command -v $tool >/dev/null || { echo "$tool is not installed"; exit 77; }
done
work=$(mktemp -d) || exit 1
trap 'rm -rf "$work"' EXIT
failures=0
fail() { echo "$1"; failures=1; }

compiles() {  # RULES: whether our policy compiles with these rules
    { cat "$stub/platform_head.te" "$policy"/*.te; echo "$1"; cat "$stub/platform_tail.te"; } |
        m4 >"$work/policy.conf" 2>"$work/out" &&
        checkpolicy -c 30 -o "$work/policy" "$work/policy.conf" >"$work/out" 2>&1
}

for rule in 'allow dravo_kavel nowhere:file read;' 'r_file_perms(' \
    'allow dravo_kavel self:capability dac_override;' 'allow dravo_kavel debugfs:file { open read };' \
    'add_service(some_app, dravo_kavel_service)' 'set_prop(dravo_kavel, ctl_start_prop)'; do
    ! compiles "$rule" || fail "compiles with: $rule"
done
# The platform's policy allows these domains to find every service. A bug report, or dumpsys, then calls
# it and passes a pipe for the answer.
for domain in dumpstate shell; do
    for rule in "$domain dravo_kavel:binder call" "dravo_kavel $domain:fd use" \
        "dravo_kavel $domain:fifo_file getattr" "dravo_kavel $domain:fifo_file write"; do
        ! compiles "neverallow $rule;" || fail "not allowed: $rule"
    done
done
# Including the rules that the page tells devices to add.
rules=$(sed -n '/^allow dumpstate .*;$/p' "$policy/../../docs/integration.md")
[ -n "$rules" ] || fail 'docs/integration.md gives devices no rules'
compiles "$rules" || { cat "$work/out"; fail 'the policy does not compile'; }

for contexts in "$policy"/*_contexts; do
    types=$(grep -o 'u:object_r:[a-z_]*:s0' "$contexts" | cut -d: -f3 | sort -u)
    [ -n "$types" ] || fail "$contexts labels nothing"
    for type in $types; do
        grep -q "type ${type}[ ,;]" "$work/policy.conf" || fail "$contexts: no type $type"
    done
done
exit $failures
