#!/usr/bin/env bash
# The example policies as a user meets them: checked with their lists, printed as text, and evaluated
# over their routes, against outputs that are kept beside this script. With `--keep` the outputs are
# written anew, to be looked through before they are committed.
set -euo pipefail

here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
examples=${QCF_SOURCE_DIR:-$here/../../..}/examples
kept=$here/Examples
if [[ ! -x ${QCF_BINARY:=${QCF_BUILD_DIR:-$here/../../../build/release}/bin/qcf} ]]; then
    echo "there is no $QCF_BINARY"
    exit 77
fi
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
keep=${1:-}
failed=0

# compare NAME: what the last command printed to $work/out against the kept output of that name.
compare() {
    if [[ $keep == --keep ]]; then
        cp "$work/out" "$kept/$1"
    elif ! diff -u "$kept/$1" "$work/out"; then
        echo "FAILED: $1" >&2
        failed=1
    fi
}

# example NAME FUNCTION...: every function is evaluated over the example's routes.
example() {
    local name=$1 function
    shift
    cd "$examples"
    "$QCF_BINARY" check "$name.json" --lists "$name.lists.json" >"$work/out"
    compare "$name.check.txt"
    # Addresses of functions in memory differ from run to run.
    "$QCF_BINARY" dump "$name.json" | sed -E 's/ +$//' >"$work/out"
    compare "$name.dump.txt"
    for function in "$@"; do
        "$QCF_BINARY" eval "$name.json" --function "$function" --lists "$name.lists.json" \
            --routes "$name.routes.jsonl" --output jsonl >"$work/out"
        compare "$name.$function.jsonl"
    done
}

example builtins validate_origin hide_private_asns translate_as send_from_here
example transit-import transit_import
example route-server-export export_to_64501 export_to_64502
example fabric fabric_import fabric_export
exit $failed
