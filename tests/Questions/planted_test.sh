#!/usr/bin/env bash
# Of single changes in the examples what tells policies apart leads to the changed line.
set -euo pipefail
command -v python3 >/dev/null || exit 77
[[ -x $QCF_BINARY ]] || {
    echo "the command is not built"
    exit 77
}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
python3 -B "$(dirname "${BASH_SOURCE[0]}")/planted.py" "$QCF_BINARY" "$work" 40 7 "$QCF_SOURCE_DIR/examples"
