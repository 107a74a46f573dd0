#!/usr/bin/env bash
# The language's page lists the codes that messages have.
set -euo pipefail
command -v python3 >/dev/null || exit 77
exec python3 -B "$(dirname "${BASH_SOURCE[0]}")/codes.py" "$QCF_SOURCE_DIR"
