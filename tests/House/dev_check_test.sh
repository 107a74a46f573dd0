#!/usr/bin/env bash
# The gates of `./dev check`, with stand-ins for the work: all run whatever fails, what fails is
# told, and --changed picks the sources that differ.
set -euo pipefail

here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
source=$(cd "${QCF_SOURCE_DIR:-$here/../..}" && pwd)
command -v git >/dev/null || exit 77
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
unset QCF_BASE
export source breaks=none
export GIT_CONFIG_GLOBAL=/dev/null GIT_CONFIG_SYSTEM=/dev/null

fail() {
    echo "FAILED: $*" >&2
    cat "$work/out" >&2
    exit 1
}

# A shell of its own, since errors do not end one that runs within a condition.
cat >"$work/gates" <<'GATES'
set -euo pipefail
for part in "$source"/dev.d/*.bash; do
    source "$part"
done
jobs=1
work() {
    echo "ran: $*"
    [[ $* != "$breaks"* ]]
    echo "went on: $*"
}
usage() { echo "usage"; }
isFormatted() { work format; }
isGenerated() { work generated; }
tidy() { work tidy "${@#^"$PWD"/}"; }
runTests() { work tests "$@"; }
threadTests() { work threads; }
pageTest() { work page; }
fuzz() { work fuzz "$@"; }
check "$@"
GATES

# gates ARGUMENTS: runs check with stand-ins; a gate whose work begins with $breaks fails halfway.
gates() { bash "$work/gates" "$@" >"$work/out" 2>&1; }

told() { grep -qxF -- "$1" "$work/out" || fail "not told: $1"; }
notTold() { ! grep -qF -- "$1" "$work/out" || fail "told: $1"; }

mkdir "$work/tree"
cd "$work/tree"
git init -q
commit() {
    git add -A
    git -c user.name=t -c user.email=t@t commit -qm "$1"
}
echo 1 >kept.cpp
echo 1 >changed.cpp
echo 1 >gone.cpp
commit first

gates || fail "all gates pass, check does not"
told "ran: tidy"
told "ran: fuzz all 60"

# One that fails in its midst stops there, and only there.
breaks=threads
gates && fail "a gate fails, check passes"
told "ran: threads"
notTold "went on: threads"
told "went on: fuzz all 60"
told "check: FAILED: thread sanitizer"
breaks=none

gates --changed || fail "no commit before the first one: nothing to lint, and no fault"
told "clang-tidy: HEAD~1 is not known here (a shallow clone?); no source is linted"
told "ran: fuzz all 10"
gates --changed=nowhere && fail "a commit that nobody knows is taken"
notTold "ran: format"

echo 2 >changed.cpp
git rm -q gone.cpp
echo 1 >header.h
commit second
gates --changed || fail "--changed"
told "ran: tidy changed.cpp"
echo 1 >new.cpp
QCF_BASE=HEAD gates --changed || fail "QCF_BASE"
told "ran: tidy new.cpp"
gates --changed=HEAD~1 || fail "--changed=COMMIT"
told "ran: tidy changed.cpp new.cpp"
rm new.cpp
gates --changed=HEAD || fail "nothing changed"
told "clang-tidy: no source differs from HEAD"
notTold "ran: tidy"
for ((i = 0; i < 51; ++i)); do
    echo >"many$i.cpp"
done
gates --changed=HEAD || fail "many sources"
told "clang-tidy: 51 sources differ from HEAD, more than 50: left to ./dev lint by hand"
notTold "ran: tidy"

gates --nonsense && fail "an unknown option is taken"
told usage
