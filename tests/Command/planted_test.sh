#!/usr/bin/env bash
# The tests of the examples find what is planted, and what they tell leads to it.
set -euo pipefail
command -v python3 >/dev/null || exit 77
[[ -x $QCF_BINARY ]] || {
    echo "the command is not built"
    exit 77
}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
python3 -B "$(dirname "${BASH_SOURCE[0]}")/planted.py" "$QCF_BINARY" "$QCF_SOURCE_DIR/examples" "$work"
