#!/usr/bin/env bash
# A policy is compared with the live version of a name, on a server of its own.
set -euo pipefail
# shellcheck source=/dev/null
source "$QCF_SOURCE_DIR/tests/support/commands.bash"
work=$(mktemp -d)
server=
trap 'kill $server 2>/dev/null || true; rm -rf "$work"' EXIT
cd "$work"

fail() {
    echo "FAILED: $*" >&2
    cat "$work"/*.txt >&2
    exit 1
}

redis-server --port 0 --unixsocket "$work/redis.sock" --dir "$work" --save '' --loglevel warning >server.txt 2>&1 &
server=$!
for _ in $(seq 200); do
    [[ $(redis-cli -s "$work/redis.sock" ping 2>/dev/null) == PONG ]] && break
    sleep 0.05
done
at=(--redis "unix://$work/redis.sock" --name edge)

# policy BOUND
policy() {
    printf '%s\n' 'list community_list OURS { permit { 65000:1 } }' 'function f() {' \
        '  if community matches OURS { return false }' "  return med > $1" '}'
}
policy 5 >old.qcf
policy 6 >new.qcf
printf '%s\n' '{"med": 6}' '{"med": 7, "community": ["65000:1"]}' '{"med": 7}' >routes.jsonl

# expect CODE TEXT ARGUMENTS...: the exit code of qcf diff against the live version, and what it says.
expect() {
    local code=0 wanted=$1 text=$2
    shift 2
    "$QCF_BINARY" diff "${at[@]}" --function f --routes routes.jsonl "$@" >out.txt 2>err.txt || code=$?
    [[ $code == "$wanted" ]] || fail "exit code $code of $*, $wanted wanted"
    grep -qF -- "$text" out.txt err.txt || fail "no '$text' from $*"
}

expect 1 'nothing is published under edge' new.qcf
"$QCF_BINARY" publish old.qcf "${at[@]}" >/dev/null
expect 0 '3 routes: 3 alike, 0 differ' old.qcf --exit-code
# A list has other slots than in the live version, where another stands before it.
policy 5 | sed '1i list community_list OTHERS { permit { 65000:2 } }
s/^  return med/  if community matches OTHERS { med = 0 }\n&/' >slots.qcf
expect 0 '3 routes: 3 alike, 0 differ' slots.qcf
# The live version's own lines where it came from a text, else keys.
expect 1 '1  accepted -> rejected  old 4 return med > 5 (true)  new 4 return med > 6 (false)' new.qcf --exit-code
"$QCF_BINARY" compile old.qcf >old.json
"$QCF_BINARY" publish old.json "${at[@]}" >/dev/null
expect 1 '1  accepted -> rejected  old /f/' new.qcf --exit-code
# The next version is the live one.
"$QCF_BINARY" publish new.qcf "${at[@]}" >/dev/null
expect 0 '3 routes: 3 alike, 0 differ' new.qcf --exit-code
expect 1 'has no function "g"; its functions: f' new.qcf --old-function g
# Nobody is told of a reader.
"$QCF_BINARY" status "${at[@]}" --format json | grep '"readers": \[\]' >/dev/null || fail 'a reader is left'
# Other lists than those of the new policy.
printf 'list community_list OURS { permit { 65000:9 } }\n' >lists.qcf
expect 1 'accepted -> rejected' new.qcf --old-lists lists.qcf --exit-code
kill "$server"; wait "$server" || true; server=
expect 1 '' new.qcf
