#!/usr/bin/env bash
# The generated files are those that the schema gives, laid out as all others.
set -euo pipefail
for program in python3 clang-format-14; do
    command -v "$program" > /dev/null || exit 77
done
exec python3 -B "$QCF_SOURCE_DIR/QcfLib/schema/generate.py" --check
