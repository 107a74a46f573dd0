#!/usr/bin/env bash
# Each kind of fault once, with processes; the long form is `tests/Mirror/faults/faults.py --rounds 1000`.
set -euo pipefail
for needed in python3 redis-server; do
    command -v "$needed" >/dev/null || {
        echo "no $needed on this machine"
        exit 77
    }
done
[[ -x $QCF_BINARY ]] || {
    echo "the command is not built"
    exit 77
}
python3 -B "$(dirname "${BASH_SOURCE[0]}")/faults/faults.py" "$QCF_BINARY"
