#!/usr/bin/env bash
# The generated files are those that the schema gives.
set -euo pipefail
command -v python3 > /dev/null || exit 77
exec python3 -B "$QCF_SOURCE_DIR/QcfLib/schema/generate.py" --check
