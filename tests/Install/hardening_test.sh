#!/usr/bin/env bash
# What is built for installation is hardened: it is loaded anywhere, its tables are read-only and
# bound before it runs, its stack holds no code, and it calls the guards of compiler and libc.
set -euo pipefail
command -v readelf >/dev/null || exit 77

cache=$QCF_BUILD_DIR/CMakeCache.txt
for wanted in '^CMAKE_BUILD_TYPE:STRING=Release$' '^QCF_SANITIZE:STRING=$' '^QCF_HARDEN:BOOL=ON$'; do
    grep -q "$wanted" "$cache" || {
        echo "only release builds are hardened"
        exit 77
    }
done
failed=0
# wants FILE WHAT PATTERN TEXT
wants() {
    grep -qE -- "$3" <<<"$4" || {
        echo "FAILED: $1 has no $2" >&2
        failed=1
    }
}

check() {
    local file=$1 header segments dynamic symbols
    header=$(readelf -hW "$file")
    segments=$(readelf -lW "$file")
    dynamic=$(readelf -dW "$file")
    symbols=$(readelf -W --dyn-syms "$file")
    wants "$file" "position-independent code" '^ *Type: *DYN' "$header"
    wants "$file" "read-only tables (RELRO)" 'GNU_RELRO' "$segments"
    wants "$file" "stack without code" 'GNU_STACK .* RW +0x' "$segments"
    wants "$file" "immediate binding" '\(FLAGS_1\).*NOW' "$dynamic"
    wants "$file" "guarded stack" '__stack_chk_fail' "$symbols"
    wants "$file" "checked calls of libc" ' __[a-z]+_chk(@|$)' "$symbols"
    if grep -q TEXTREL <<<"$dynamic"; then
        echo "FAILED: $file writes to its code when it is loaded" >&2
        failed=1
    fi
}

check "$QCF_BINARY"
wants "$QCF_BINARY" "mark of a program that is loaded anywhere" '\(FLAGS_1\).*PIE' "$(readelf -dW "$QCF_BINARY")"
if [[ -e $QCF_BUILD_DIR/lib/libqcf.so ]]; then
    check "$QCF_BUILD_DIR/lib/libqcf.so"
fi
exit $failed
