#!/usr/bin/env bash
# The installed headers are the public ones: each header of this project that they include is
# installed, too, and none stands in a wing of the engine. That each compiles alone is proved by the
# build, in tests/CMakeLists.txt.
set -euo pipefail

if ! grep -q '^QCF_SANITIZE:STRING=$' "$QCF_BUILD_DIR/CMakeCache.txt"; then
    echo "libraries with sanitizers are not for installing"
    exit 77
fi
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cmake --install "$QCF_BUILD_DIR" --prefix "$work" >"$work/install.log"
cd "$work/include/qcf"

find . -name '*.h' -printf '%P\n' | sort >"$work/installed"
grep -E '^QcfLib/' "$work/installed" | grep -vE '^QcfLib/(ClientPlugin/)?[^/]*$' >"$work/private" || true
# Quoted includes are paths from the root of the headers.
xargs sed -nE 's/^ *# *include "([^"]+)".*/\1/p' <"$work/installed" | sort -u >"$work/included"
comm -23 "$work/included" "$work/installed" >"$work/missing"

failed=0
while read -r header; do
    echo "FAILED: $header stands in a wing and is installed"
    failed=1
done <"$work/private"
while read -r header; do
    echo "FAILED: $header is not installed, but included by" \
        "$(xargs grep -lF "\"$header\"" <"$work/installed" | xargs)"
    failed=1
done <"$work/missing"
# A folder that installs nothing would pass everything above.
for folder in Platform/Framework QcfLib QcfLib/ClientPlugin Documents Lists Text Agent/Evaluation Mirror; do
    grep -q "^$folder/[^/]*\.h$" "$work/installed" || {
        echo "FAILED: no header of $folder is installed"
        failed=1
    }
done
echo "$(wc -l <"$work/installed") headers are installed"
exit $failed
