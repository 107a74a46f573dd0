#!/usr/bin/env bash
# Validators take what the command takes, and refuse what is wrong in form.
set -euo pipefail
python3 -c 'import jsonschema; jsonschema.Draft202012Validator' 2>/dev/null || {
    echo "no validator on this machine (package python3-jsonschema)"
    exit 77
}
[[ -x $QCF_BINARY ]] || {
    echo "the command is not built"
    exit 77
}
exec python3 -B "$(dirname "${BASH_SOURCE[0]}")/schema.py" "$QCF_BINARY" "$QCF_SOURCE_DIR/examples"
