#!/usr/bin/env bash
# What the interface forbids does not compile, and the compiler says why. Every source beside this
# script compiles as it stands. Its `misuse` lines are put in place one at a time; then it must not,
# and the errors must match the `says` line that follows.
set -euo pipefail
export LC_ALL=C # quotes as the `says` lines have them

here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
if [[ -n ${QCF_BUILD_DIR:-} ]] && ! grep -q '^QCF_SANITIZE:STRING=$' "$QCF_BUILD_DIR/CMakeCache.txt"; then
    echo "sanitizers make no difference here"
    exit 77
fi
export root=${QCF_SOURCE_DIR:-$here/../..}
compiler=g++
if [[ -n ${QCF_BUILD_DIR:-} ]]; then
    compiler=$(sed -n 's/^CMAKE_CXX_COMPILER:[A-Z]*=//p' "$QCF_BUILD_DIR/CMakeCache.txt")
fi
export compiler
work=$(mktemp -d)
export work
trap 'rm -rf "$work"' EXIT

compile() {
    "$compiler" -std=c++20 -Wall -Wextra -Werror -Wno-unused-variable -I "$root" "$@"
}

# expect SOURCE LINE: the source with the misuse of that line in place; LINE 0 is the source as it is.
expect() {
    local source=$1 line=$2 name case says
    name=$(basename "$source" .cpp)
    case=$work/$name.$line
    awk -v line="$line" 'NR == line { sub(/^ *\/\/ misuse: /, "") } { print }' "$source" >"$case.cpp"
    says=$(sed -n "$((line + 1))s|^ *// says: ||p" "$source")
    if compile -include "$work/$name.h" -fsyntax-only "$case.cpp" >"$case.log" 2>&1; then
        ((line == 0)) || echo "$source:$line: compiles"
    elif ((line == 0)); then
        echo "$source: does not compile as it stands"
        grep -m 3 error: "$case.log"
    elif [[ -z $says ]]; then
        echo "$source:$line: no \`says\` follows"
    elif ! grep -E 'error:|note:' "$case.log" | grep -E -- "$says" >/dev/null; then
        echo "$source:$line: the compiler does not say '$says':"
        grep -m 3 error: "$case.log"
    fi
}
export -f compile expect

for source in "$here"/*.cpp; do
    # What it includes is compiled once.
    prelude=$work/$(basename "$source" .cpp).h
    grep '^#include' "$source" >"$prelude"
    compile -x c++-header "$prelude" -o "$prelude.gch"
    echo "$source" 0
    grep -n '// misuse: ' "$source" | sed "s|^\([0-9]*\):.*|$source \1|"
done >"$work/cases"
cases=$(wc -l <"$work/cases")
((cases > 40)) || { echo "only $cases cases in $here"; exit 1; }
xargs -P "$(nproc)" -L 1 bash -c 'expect "$0" "$1"' <"$work/cases" | tee "$work/failures"
[[ ! -s $work/failures ]] || exit 1
echo "$cases cases as they should be"
