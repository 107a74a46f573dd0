#!/usr/bin/env bash
# What operators do by hand, against a server of its own that wants a password: looking before
# publishing, going back, watching readers.
set -euo pipefail

# shellcheck source=/dev/null
source "$QCF_SOURCE_DIR/tests/support/commands.bash"
work=$(mktemp -d)
server=
agent=
trap 'kill -9 $server $agent 2>/dev/null || true; rm -rf "$work"' EXIT
cd "$work"
url=unix://$work/redis.sock
at=(--redis "$url" --name edge)

fail() {
    echo "FAILED: $*" >&2
    cat out.txt err.txt >&2
    exit 1
}

server() { redis-cli -s redis.sock -a s3cret --no-auth-warning "$@"; }

# policy NAME VALUE...: a document of functions, NAME sets med to VALUE.
policy() {
    local functions=''
    while (($#)); do
        functions+="${functions:+,}{\"name\": \"$1\", \"body\": {\"class\": \"Block\", \"stmts\": [
            {\"class\": \"IntAssign\", \"lhs\": \"med\", \"rhs\": $2},
            {\"class\": \"ReturnExpression\", \"expr\": true}]}}"
        shift 2
    done
    echo "{\"qcf\": \"aet/1\", \"functions\": [$functions]}"
}
policy import 1 export 1 >1.json
policy import 2 other 1 >2.json
policy import 3 >3.json
echo '{"prefix": "10.0.0.0/8"}' >routes.jsonl

redis-server --port 0 --unixsocket redis.sock --dir "$work" --save '' --requirepass s3cret \
    --loglevel warning >server.txt 2>&1 &
server=$!
for _ in $(seq 200); do
    [[ $(server ping 2>/dev/null) == PONG ]] && break
    sleep 0.05
done

# Passwords by file or environment; the file before the environment, never two at once.
echo s3cret >password
: >empty
expect 1 NOAUTH status "${at[@]}"
expect 1 'nothing is published under edge' status "${at[@]}" --password-file password
expect 1 'nothing is published under edge' \
    status --redis "unix://default@$work/redis.sock" --name edge --password-file password
expect 2 'the user in the URL wants a password' status --redis "unix://me@$work/redis.sock" --name edge
expect 2 'a password stands in the URL' \
    status --redis "unix://:x@$work/redis.sock" --name edge --password-file password
expect 1 'empty: wants a password in the first line' status "${at[@]}" --password-file empty
expect 1 'No such file' status "${at[@]}" --password-file missing
expect 2 'standard input' status "${at[@]}" --password-file -
QCF_REDIS_PASSWORD=wrong expect 1 'nothing is published' status "${at[@]}" --password-file password
export QCF_REDIS_PASSWORD=s3cret

# What would be published, and is not.
expect 0 'would publish edge version 1, digest ' publish 1.json "${at[@]}" --dry-run
grep -qxF '  + import' out.txt || fail "import is new"
expect 1 'nothing is published' status "${at[@]}"
expect 1 'nothing is published' history "${at[@]}"
expect 1 'nothing is published' rollback "${at[@]}" 1
expect 1 'nothing is published' status "${at[@]}" --check
[[ -z $(server keys '*') ]] || fail "looking wrote something"
expect 0 'published edge version 1' publish 1.json "${at[@]}"
expect 0 'unchanged: edge version 1' publish 1.json "${at[@]}" --dry-run
[[ $(wc -l <out.txt) == 1 ]] || fail "nothing would change"
expect 0 'would publish edge version 2' publish 2.json "${at[@]}" --dry-run
sed -n '2,$p' out.txt | diff - <(printf '  %s\n' '- export' '~ import' '+ other') || fail "changes"
promised=$(sed -n 's/^would publish //p' out.txt)
expect 1 '2.json: has no function "imprt"; did you mean "import"? Its functions: import, other' \
    publish 2.json "${at[@]}" --require-function import --require-function imprt
expect 0 '"version": 1' status "${at[@]}" --format json
expect 0 "published $promised" publish --require-function import --require-function other 2.json "${at[@]}"

# Going back, and forward again.
expect 0 'published edge version 3' publish 3.json "${at[@]}"
expect 0 'VERSION' history "${at[@]}"
[[ $(cut -d' ' -f1 out.txt | tr '\n' ' ') == 'VERSION 1 2 3 ' ]] || fail "three versions"
grep -qE '^3 .* live$' out.txt || fail "version 3 is live"
: >agent.txt >agenterr.txt
"$QCF_BINARY" agent "${at[@]}" --function import --routes routes.jsonl --output jsonl \
    >agent.txt 2>agenterr.txt &
agent=$!
waitFor() {
    for _ in $(seq 200); do
        grep -qF -- "$1" agent.txt agenterr.txt && return
        sleep 0.05
    done
    fail "the agent never says '$1'"
}
waitFor '"med":3'
expect 0 'published edge version 4' rollback "${at[@]}" 1
waitFor '"med":1'
expect 0 '"note": "rollback to version 1"' history "${at[@]}" --format json
expect 0 'unchanged: edge version 4' rollback "${at[@]}" 1
expect 1 'edge: version 9 is not kept; kept are 1 to 4' rollback "${at[@]}" 9
expect 2 'from 1 to' rollback "${at[@]}" 0
expect 2 'version is required' rollback "${at[@]}"
expect 0 'published edge version 5' rollback "${at[@]}" 3 --keep 2
waitFor 'edge version 5'
expect 0 VERSION history "${at[@]}"
[[ $(cut -d' ' -f1 out.txt | tr '\n' ' ') == 'VERSION 4 5 ' ]] || fail "two versions are kept"

# Lists are told, and gone back to, with the functions that they belong to; under a key, too.
cat >named.json <<'JSON'
{"qcf": "aet/1", "functions": [{"name": "import", "body": {"class": "Block", "stmts": [
    {"class": "ReturnExpression", "expr": {"class": "IntSetMatchCommList", "lhs": "community",
     "listName": "CL"}}]}}]}
JSON
for action in permit deny; do
    echo "{\"qcf\": \"lists/1\", \"communityLists\": {\"CL\": [{\"action\": \"$action\",
        \"communities\": [\"65000:1\"]}]}}" >$action.json
done
echo '{"prefix": "10.0.0.0/8", "community": ["65000:1"]}' >tagged.jsonl
printf 'a key of sixteen bytes\n' >key
printf 'another key of sixteen bytes\n' >other.key
named=(--redis "unix://$work/redis.sock" --name named --sign-key-file key)
answer() { expect 0 "\"result\":\"$1\"" agent "${named[@]}" --once --function import --routes tagged.jsonl --output jsonl; }
expect 0 'published named version 1' publish named.json "${named[@]}" --lists permit.json
answer true
expect 0 'would publish named version 2' publish named.json "${named[@]}" --lists deny.json --dry-run
sed -n '2,$p' out.txt | diff - <(echo '  ~ community list CL') || fail "the list changes"
promised=$(sed -n 's/^would publish //p' out.txt)
expect 0 "published $promised" publish named.json "${named[@]}" --lists deny.json
answer false
expect 0 '"lists": 1' status "${named[@]}" --format json
expect 0 'would publish named version 3' publish 1.json "${named[@]}" --dry-run
grep -qxF '  - community list CL' out.txt || fail "the list goes"
expect 0 '0 functions set, 0 removed' rollback "${named[@]}" 1
answer true
expect 0 '"lists": 1' history "${named[@]}" --format json
expect 0 '"signed": true' history "${named[@]}" --format json
expect 0 'signature  by the key' status "${named[@]}"
unkeyed=(--redis "unix://$work/redis.sock" --name named --sign-key-file other.key)
expect 0 '"signed": false' status "${unkeyed[@]}" --format json
expect 0 ' no ' history "${unkeyed[@]}"
expect 1 'cannot be put together any more' rollback --redis "unix://$work/redis.sock" --name named --sign-key-file other.key 1

# Readers: one that is at the version, one that is behind, one that was not heard of for long.
for _ in $(seq 100); do
    "$QCF_BINARY" status "${at[@]}" --check >out.txt 2>err.txt && break
    sleep 0.1
done
grep -qF '  in step' out.txt || fail "the agent is in step"
record() { echo "$1 {\"version\":$2,\"digest\":\"\",\"position\":\"1-1\",\"stuck\":false}"; }
now=$(server time | head -n 1)
server hset 'qcf:{edge}:readers' lost "$(record $((now - 60)) 1)" >/dev/null
expect 0 'silent for' status "${at[@]}" --check
server hset 'qcf:{edge}:readers' $'late\e[2Jone' "$(record "$now" 3)" >/dev/null
expect 1 'late\u001b[2Jone is at version 3, published is version 5' status "${at[@]}" --check
expect 0 'late\u001b[2Jone' status "${at[@]}"

# A dry run promises what the publication then does, whatever stands under the keys.
kill -TERM $agent
wait $agent || fail "the agent ends with exit code $?"
agent=
mess() { server "$@" >/dev/null; }
damages=("del qcf:{edge}:snapshot" "hset qcf:{edge}:state version 4294967295" "hset qcf:{edge}:state digest x"
    "hset qcf:{edge}:state position x" "del qcf:{edge}:state" "del qcf:{edge}:history" "set qcf:{edge}:state x"
    "set qcf:{edge}:snapshot x" "set qcf:{edge}:changes x" "set qcf:{edge}:history x" "hset qcf:{edge}:state version 99 id x")
for damage in "${damages[@]}"; do
    # shellcheck disable=SC2086
    mess $damage
    [[ $damage != set* ]] || for command in status 'rollback 5'; do
        # shellcheck disable=SC2086
        "$QCF_BINARY" $command "${at[@]}" >out.txt 2>err.txt || true
        ! grep -q WRONGTYPE out.txt err.txt || fail "$command after $damage"
    done
    for document in 3.json 2.json; do
        expect 0 'edge version' publish $document "${at[@]}" --dry-run
        promised=$(sed -n '1s/^would publish //p' out.txt)
        expect 0 "${promised:-unchanged}" publish $document "${at[@]}"
    done
done
mess del 'qcf:{edge}:history'
expect 1 'edge: the history is gone' rollback "${at[@]}" 1
mess set 'qcf:{edge}:readers' x
expect 1 'qcf:{edge}:readers: holds another type than a writer leaves there' status "${at[@]}"
expect 0 'published' publish 1.json "${at[@]}"

# Names that hold line ends do not make lines of their own.
broken=$(sed 's/"name": "import"/"name": "im\\nport"/' named.json)
[[ $broken != "$(cat named.json)" ]] || fail "no such name"
echo "${broken//\"CL\"/\"C\\nL\"}" >broken.json
expect 0 'published broken version 1' publish broken.json --redis "$url" --name broken
expect 1 'error' agent --redis "$url" --name broken --once --function $'im\nport' \
    --routes routes.jsonl --log-format text
[[ $(grep -vcE '^20[0-9-]+T[0-9:.]+Z (info|warning|error) ' err.txt) == 0 ]] || fail "a line that is none"

# A rollback waits for a server that is away, as a publication does.
expect 1 'redis at' rollback --redis "unix://$work/none.sock" --name edge 1 --wait 0
expect 1 'trying again' rollback --redis "unix://$work/none.sock" --name edge 1 --wait 1
expect 1 'trying again' publish 1.json --dry-run --redis "unix://$work/none.sock" --name edge --wait 1

# What a server says cannot act on a terminal.
server hset 'qcf:{edge}:readers' $'csi\xc2\x9b2J' "$(record "$now" 3)" >/dev/null
server hset 'qcf:{edge}:writer' who $'who\e[2J\xe2\x80\xae' >/dev/null
server hset 'qcf:{edge}:history' 4 '{"version":"4","id":"x","digest":"","position":"1-1","functions":"1","nodes":"1","published":"99999999999999999999","writer":"w\u001b[2J\u202e","note":"\n"}' >/dev/null
for command in status history 'status --format json' 'history --format json'; do
    # shellcheck disable=SC2086
    expect 0 '' $command "${at[@]}"
    ! grep -qP '[\x00-\x08\x0b-\x1f\x7f]|\xc2\x9b|\xe2\x80\xae' out.txt err.txt || fail "$command lets it through"
done
