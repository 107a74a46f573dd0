#!/usr/bin/env bash
# The tree keeps the rules of the house, and a tree that breaks each of them is told apart.
set -euo pipefail
command -v python3 >/dev/null || exit 77

here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

fail() {
    echo "FAILED: $*" >&2
    exit 1
}

# file PATH INCLUDED...: a source of the made-up tree.
file() {
    local path=$work/tree/$1 name
    shift
    mkdir -p "$(dirname "$path")"
    for name in "$@"; do
        echo "#include \"$name\""
    done >"$path"
}

# Each rule broken once.
file QcfLib/Public.h QcfLib/Nodes/Low.h
file QcfLib/Nodes/Low.h QcfLib/Plan/High.h
file QcfLib/Plan/High.h
file Platform/Framework/Base.h Documents/Top.h
file Documents/Top.h QcfLib/Nodes/Low.h
file Mirror/One.h Mirror/Two.h
file Mirror/Two.h
file Mirror/Two.cpp Mirror/One.h
for name in {1..45}; do
    file "QcfLib/Plan/P$name.h" QcfLib/Nodes/Low.h
done
python3 -B "$here/count.py" --check "$work/tree" >"$work/out" && fail "a broken house passes"
for told in "an arrow up in QcfLib: QcfLib/Nodes/Low includes QcfLib/Plan/High" \
    "an arrow up: Platform/Framework/Base.h includes Documents/Top.h" \
    "public QcfLib/Public.h reaches private QcfLib/Plan/High.h" \
    "Documents/Top.h includes private QcfLib/Nodes/Low.h" \
    "a circle: One, Two" \
    "46 arrows between the wings of QcfLib"; do
    grep -qF "$told" "$work/out" || fail "not told: $told"
done

exec python3 -B "$here/count.py" --check "${QCF_SOURCE_DIR:-$here/../..}"
