#!/usr/bin/env bash
# What tests report is what other tools read: JUnit's XML, tracefiles of lcov, coverage as JSON.
set -euo pipefail
command -v python3 >/dev/null || exit 77
[[ -x $QCF_BINARY ]] || {
    echo "the command is not built"
    exit 77
}
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"
cp -r "$QCF_SOURCE_DIR/examples" examples
# Titles and findings that would break a careless writer.
cat >examples/hard.qcf <<'TEXT'
function f() { return true }
test "a <b> & \"c\" 'd' ]]> é" f() { route { } expect reject }
function half() { if med is 1 { return false } return true }
test "one of two statements on a line" half() { route { } expect accept }
TEXT
# U+FFFE and U+FFFF are characters of a text and none of XML.
printf 'test "no \xef\xbf\xbe \xef\xbf\xbf" f() { route { } expect accept }\n' >>examples/hard.qcf
printf 'function f() { return == }\n' >examples/broken.qcf
"$QCF_BINARY" test examples --format junit >junit.xml 2>/dev/null && exit 1
"$QCF_BINARY" test examples --format json --coverage --lcov all.info >all.json 2>/dev/null && exit 1
python3 -B "$here/reports.py" junit.xml all.json all.info
if command -v genhtml >/dev/null; then
    genhtml all.info --branch-coverage --output-directory html >out 2>&1
    if grep -iE 'warning|error' out; then
        exit 1
    fi
fi
