#!/usr/bin/env bash
# The grammar for editors knows every word and shape of the language.
set -euo pipefail
command -v python3 >/dev/null || exit 77
exec python3 -B "$(dirname "${BASH_SOURCE[0]}")/editors.py" "$QCF_SOURCE_DIR" "$QCF_BINARY"
