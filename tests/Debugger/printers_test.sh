#!/usr/bin/env bash
# The printers for gdb, over a program that stops with one value of each kind.
set -euo pipefail

program=$QCF_BUILD_DIR/bin/debugger_inspected
if ! command -v gdb >/dev/null || [[ ! -x $program ]]; then
    echo "there is no gdb, or no $program"
    exit 77
fi
if ! grep -q '^QCF_SANITIZE:STRING=$' "$QCF_BUILD_DIR/CMakeCache.txt"; then
    echo "sanitizers and debuggers trace each other"
    exit 77
fi
out=$(mktemp)
trap 'rm -f "$out"' EXIT
gdb -nx -batch -ex "source $QCF_SOURCE_DIR/tools/gdb/qcf_printers.py" -ex "set width 0" \
    -ex "break inspect" -ex run \
    -ex 'print inspected.function' -ex 'print inspected.assignment' -ex 'print inspected.none' \
    -ex 'print *inspected.set.inner_.object_' -ex 'print $qcf(inspected.lent)' \
    -ex 'print inspected.answer' -ex 'print $qcf(inspected.assignment)' \
    -ex 'print $qcf(inspected.function)' -ex 'print $qcf(inspected.none)' \
    "$program" >"$out" 2>&1 || true
if ! grep -q '^Breakpoint 1, ' "$out"; then
    cat "$out"
    echo "gdb cannot run programs here"
    exit 77
fi

failed=0
while read -r line; do
    grep -qxF -- "$line" "$out" || {
        echo "FAILED: not printed: $line"
        failed=1
    }
done <<'LINES'
$1 = Function#23, 1 users
$2 = IntAssign#8, 2 users
$3 = null
$4 = U64SmallVector of 2, reuseOnWrite = {100, 200}
$5 = CommunitySmallVector of 2, copyOnWrite, lent = {0x4004fc0049742400, 64500:7:9}
$6 = true, returns to the caller
$7 = IntAssign#8 = {lhs = Attribute::LocalPref#7, 1 users, rhs = IntImmediate#9, 1 users}
the pointer is null
LINES
grep -q '^$8 = Function#23 = {funcName = "inspected", .* body = Block#22, 1 users' "$out" || {
    echo "FAILED: the function's fields"
    failed=1
}
((failed == 0)) || cat "$out"
exit $failed
