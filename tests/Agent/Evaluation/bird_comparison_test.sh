#!/usr/bin/env bash
# Prefix sets, communities and AS paths: the same random cases evaluated by qcf and by the BIRD
# routing daemon's filter language, offline, must come out alike.
set -euo pipefail

for tool in bird python3; do
    command -v "$tool" >/dev/null || PATH=$PATH:/usr/sbin:/usr/local/sbin
    if ! command -v "$tool" >/dev/null; then
        echo "$tool is not installed"
        exit 77
    fi
done
if [[ ! -x ${QCF_BINARY:=${QCF_BUILD_DIR:-build/release}/bin/qcf} ]]; then
    echo "there is no $QCF_BINARY"
    exit 77
fi
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
python3 "$(dirname "${BASH_SOURCE[0]}")/bird_comparison.py" "$QCF_BINARY" "$work" "${1:-1}"
