#!/usr/bin/env bash
# What is told of routes by each example policy, line by line: explained/POLICY.jsonl has the routes,
# explained/POLICY.txt what is told. With "write" as argument the latter are written anew.
set -euo pipefail
[[ -x $QCF_BINARY ]] || {
    echo "the command is not built"
    exit 77
}
here=$(cd "$(dirname "${BASH_SOURCE[0]}")/explained" && pwd)
cd "$QCF_SOURCE_DIR/examples"

functions="accept:accept blackhole:trigger_import builtins:validate_origin customer-import:as64501_import
    exchange-export:to_as3333 exchange-import:as3333_import export-control:to_transit fabric:fabric_import
    graceful-shutdown:from_neighbor import-filter:import_filter leaks:from_peer_64501
    origin-validation:validated_import peer-import:peer_import prefer-customers:prefer_customers
    route-server-export:export_to_64501 transit-import:transit_import"

failed=0
for each in $functions; do
    policy=${each%:*}
    told=$("$QCF_BINARY" explain "$policy.qcf" --function "${each#*:}" --routes "$here/$policy.jsonl" 2>&1) || true
    if [[ ${1-} == write ]]; then
        printf '%s\n' "$told" >"$here/$policy.txt"
    elif ! diff -u "$here/$policy.txt" <(printf '%s\n' "$told"); then
        failed=1
    fi
done
# A new example is to be explained, too.
for policy in *.qcf; do
    [[ $functions == *"${policy%.qcf}:"* ]] || {
        echo "$policy is not explained"
        failed=1
    }
done
exit $failed
