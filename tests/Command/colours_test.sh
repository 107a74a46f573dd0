#!/usr/bin/env bash
# Colours are for terminals alone, and not for those who refuse them.
set -euo pipefail
qcf=$QCF_BINARY
[[ -x $qcf ]] || {
    echo "the command is not built"
    exit 77
}
command -v script >/dev/null || {
    echo "no terminal on this machine (command script)"
    exit 77
}
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
printf 'function f() { return mad is 5 }\n' >"$folder/p.qcf"
cd "$folder"

# told TERM NO_COLOR: what a terminal gets.
told() { TERM=$1 NO_COLOR=$2 script -qec "'$qcf' check p.qcf" /dev/null </dev/null || true; }

plain=$("$qcf" check p.qcf 2>&1 || true)
red=$'\033[1;31merror: \033[0m'
[[ $plain == *"p.qcf:1:23: error: unknown name"* ]]
[[ $(told xterm '') == *"p.qcf:1:23: $red"*"unknown name"* ]]
for terminal in 'xterm 1' 'dumb '; do
    [[ $(told "${terminal% *}" "${terminal#* }") != *$'\033['* ]]
done
