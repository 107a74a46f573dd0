#!/usr/bin/env bash
# Manual pages and completions follow from the command's declarations: every command has a page,
# every option stands on it, roff has nothing to complain of, and bash completes what can be given.
set -euo pipefail
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
failed=0
fail() {
    echo "FAILED: $*" >&2
    failed=1
}

"$QCF_BINARY" describe "$work/share"
man=$work/share/man/man1
commands=$("$QCF_BINARY" --help | sed -n '/^Subcommands:/,/^$/s/^  \([a-z-]*\) .*/\1/p')
[[ $(wc -w <<<"$commands") -gt 15 ]] || fail "the help has few commands: $commands"
for command in $commands; do
    page=$man/qcf-$command.1
    grep -qF "qcf\\-${command//-/\\-}\\fR" "$man/qcf.1" || fail "qcf(1) has no $command"
    # As roff writes them, with minus signs.
    for option in $("$QCF_BINARY" "$command" --help | grep -oE '^  (-., ?)?--[a-z-]+' | grep -oE -- '--[a-z-]+'); do
        grep -qF -- "\\fB${option//-/\\-}\\fR" "$page" || fail "qcf-$command(1) has no $option"
    done
done
[[ ! -e $man/qcf-describe.1 ]] || fail "the hidden command has a page"
"$QCF_BINARY" --help | grep -q describe && fail "the hidden command stands in the help"
if command -v groff >/dev/null; then
    for page in "$man"/*.1; do
        groff -man -ww -Tutf8 "$page" 2>&1 >/dev/null | sed "s|^|FAILED: |" >>"$work/roff"
    done
    [[ ! -s $work/roff ]] || fail "$(head -3 "$work/roff")"
fi

# shellcheck source=/dev/null
source "$work/share/bash-completion/completions/qcf"
compopt() { opened+=" $*"; } # works only while bash completes
# completes WANTED WORDS...: what bash would offer for the last word.
completes() {
    local wanted=$1 opened=''
    shift
    COMP_WORDS=("$@") COMP_CWORD=$(($# - 1))
    _qcf
    [[ "${COMPREPLY[*]}$opened" == "$wanted" ]] || fail "'$*' gives '${COMPREPLY[*]}$opened', not '$wanted'"
}
completes "eval explain" qcf e
completes "--version" qcf --ver
completes "--output --only" qcf eval --o
completes "table jsonl none" qcf eval p.qcf --output ""
completes "jsonl" qcf eval p.qcf --output j
completes "jsonl" qcf eval p.qcf --output = j
completes "table jsonl none" qcf eval p.qcf --output =
completes "" qcf eval p.qcf --routes "" # empty: bash goes on with files
completes " +o default" qcf eval p.qcf --function ""
completes "status" qcf help sta
completes "" qcf eval ""
# What the pages for operators tell people to type is there.
while read -r command options; do
    grep -qxF "$command" <<<"$commands" || fail "docs/operations.md: there is no qcf $command"
    help=$("$QCF_BINARY" "$command" --help)
    for option in $(grep -oE -- ' --[a-z][a-z-]*' <<<" $options"); do
        grep -qE -- "(^|[ ,])$option " <<<"$help" || fail "docs/operations.md: qcf $command has no $option"
    done
done < <(sed -nE 's/^    qcf ([a-z-]+)(.*)/\1 \2/p' "$QCF_SOURCE_DIR/docs/operations.md")
if command -v zsh >/dev/null; then
    zsh -n "$work/share/zsh/vendor-completions/_qcf" || fail "zsh cannot read its completion"
fi
exit $failed
