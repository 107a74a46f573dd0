#!/usr/bin/env bash
# Every command that takes threads says with four of them what it says with one. The check runs it
# under the thread sanitizer as well, which ends a process with a code of its own.
set -euo pipefail
[[ -x $QCF_BINARY ]] || {
    echo "the command is not built"
    exit 77
}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"
cp -r "$QCF_SOURCE_DIR/examples" examples
"$QCF_BINARY" generate-table --routes 4000 --seed 3 --out table.mrt
policy=examples/import-filter.qcf
sed 's/return true/return false/' "$policy" >examples/edited.qcf
cmp -s "$policy" examples/edited.qcf && exit 1

# same NAME ARGUMENTS...
same() {
    local name=$1 threads code
    shift
    for threads in 1 4; do
        code=0
        "$QCF_BINARY" "$@" --threads "$threads" >"$name.$threads" 2>"$name.$threads.err" || code=$?
        # 1 is a finding: routes that differ, mutants that survive.
        ((code < 2)) || {
            echo "$name with $threads threads ended with $code:"
            cat "$name.$threads.err"
            return 1
        }
    done
    [[ -s $name.1 ]]
    cmp "$name.1" "$name.4"
}
table=(--function import_filter --routes table.mrt)
same eval eval "$policy" "${table[@]}" --output jsonl
same why eval "$policy" "${table[@]}" --why --output jsonl
same profile profile "$policy" "${table[@]}" --format json
same folded profile "$policy" "${table[@]}" --format folded
same explain explain "$policy" "${table[@]}" --limit 500 --all --format json
same flips explain "$policy" "${table[@]}" --limit 10 --flip any
same diff diff "$policy" examples/edited.qcf "${table[@]}"
same mutants test examples/blackhole.qcf --mutants
same report report "$policy" "${table[@]}" --limit 1000 --against examples/edited.qcf --out -
same impact impact "$policy" med "${table[@]}"
