#!/usr/bin/env bash
# publish, agent and status against a server of its own: output, exit codes, a server that comes
# and goes.
set -euo pipefail

# shellcheck source=/dev/null
source "$QCF_SOURCE_DIR/tests/support/commands.bash"
work=$(mktemp -d)
server=
agent=
trap 'kill -9 $server $agent 2>/dev/null || true; rm -rf "$work"' EXIT
url=unix://$work/redis.sock

fail() {
    echo "FAILED: $*" >&2
    cat "$work"/*.txt >&2
    exit 1
}

startServer() {
    redis-server --port 0 --unixsocket "$work/redis.sock" --dir "$work" --appendonly yes --save '' \
        --loglevel warning >"$work/server.txt" 2>&1 &
    server=$!
    for _ in $(seq 200); do
        [[ $(redis-cli -s "$work/redis.sock" ping 2>/dev/null) == PONG ]] && return
        sleep 0.05
    done
    fail "the server does not start"
}

# document MED: accepts with that med.
document() {
    cat <<JSON
{"qcf": "aet/1", "functions": [{"name": "import", "body": {"class": "Block", "stmts": [
    {"class": "IntAssign", "lhs": "med", "rhs": $1}, {"class": "ReturnExpression", "expr": true}]}},
    {"name": "other", "body": {"class": "Block", "stmts": []}}]}
JSON
}

# expect CODE TEXT COMMAND...: runs qcf; its exit code and a text in what it says.
expect() {
    local code=0 wanted=$1 text=$2
    shift 2
    "$QCF_BINARY" "$@" >"$work/out.txt" 2>"$work/err.txt" || code=$?
    [[ $code == "$wanted" ]] || fail "exit code $code of $*, $wanted wanted"
    grep -qF -- "$text" "$work/out.txt" "$work/err.txt" || fail "no '$text' from $*"
}

for med in 1 2 3; do document $med >"$work/$med.json"; done
for i in $(seq 10); do echo "{\"prefix\": \"10.0.$i.0/24\"}"; done >"$work/routes.jsonl"
at=(--redis "$url" --name edge)
routes=(--function import --routes "$work/routes.jsonl" --output jsonl)

expect 2 'redis URL' status --redis http://localhost --name edge
expect 2 'name' status --redis "$url" --name 'a b'
expect 2 'TLS options' publish "$work/1.json" "${at[@]}" --tls-insecure
expect 1 'redis at' publish "$work/1.json" "${at[@]}" --wait 0
expect 1 'redis at' agent "${at[@]}" "${routes[@]}" --once --wait 0
startServer
expect 1 'nothing is published under edge' status "${at[@]}"
expect 1 'nothing is published under edge' agent "${at[@]}" "${routes[@]}" --once --wait 0
"$QCF_BINARY" agent "${at[@]}" "${routes[@]}" --once --wait 60 >"$work/out.txt" 2>"$work/err.txt" &
agent=$!
for _ in $(seq 100); do
    redis-cli -s "$work/redis.sock" hlen 'qcf:{edge}:readers' | grep -qx 1 && break
    sleep 0.05
done
kill -TERM $agent
code=0
wait $agent || code=$?
[[ $code == 1 ]] || fail "an agent that was stopped before a version ends with exit code $code"
expect 1 'missing.json' publish "$work/missing.json" "${at[@]}"
expect 0 'published edge version 1, digest ' publish "$work/1.json" "${at[@]}"
digest=$(sed 's/.*digest \([0-9a-f]*\).*/\1/' "$work/out.txt")
expect 0 'unchanged: edge version 1' publish "$work/1.json" "${at[@]}"
expect 0 "edge version 1, digest $digest" agent "${at[@]}" "${routes[@]}" --once
[[ $(grep -c '"changes":{"med":1}' "$work/out.txt") == 10 ]] || fail "ten routes with med 1"
"$QCF_BINARY" eval "$work/1.json" "${routes[@]}" >"$work/eval.jsonl"
cmp "$work/eval.jsonl" "$work/out.txt" || fail "agent and eval differ"
# Counts of the statements: ten routes, all decided by the return.
expect 0 '  10 10 import ' agent "${at[@]}" "${routes[@]}" --once --counters 3600
grep -qE '^  10 0 import [0-9]+ .*=' "$work/err.txt" || fail "the assignment is not counted"
cmp "$work/eval.jsonl" "$work/out.txt" || fail "counting changes the results"
expect 1 'has no function "none"; its functions: import, other' agent "${at[@]}" --once --function none --routes "$work/routes.jsonl"
expect 2 '--once' agent "${at[@]}" --function import --routes -

# A list that nothing defines: an error, and with an agent that stays the version before holds.
cat >"$work/named.json" <<'JSON'
{"qcf": "aet/1", "functions": [{"name": "import", "body": {"class": "Block", "stmts": [
    {"class": "ReturnExpression", "expr": {"class": "IntSetMatchCommList", "lhs": "community",
     "listName": "CL"}}]}}]}
JSON
echo '{"qcf": "lists/1", "communityLists": {"CL": []}}' >"$work/lists.json"
other=(--redis "$url" --name other)
expect 0 'published other version 1' publish "$work/named.json" "${other[@]}"
grep -q 'warning: .*"CL" is not defined' "$work/err.txt" || fail "no warning without any list"
expect 1 'community list "CL" is not defined' agent "${other[@]}" "${routes[@]}" --once
grep -q 'other version 1: function "import", node ' "$work/err.txt" || fail "no place of the name"
[[ ! -s $work/out.txt ]] || fail "routes before the error"
expect 0 'warning: community list "CL" is not defined, it acts as an empty list' \
    agent "${other[@]}" "${routes[@]}" --once --allow-undefined-lists
expect 0 '"result":"false"' agent "${other[@]}" "${routes[@]}" --once --lists "$work/lists.json"

# Lists that travel along: functions and lists are one version, and a change moves its difference.
lists() {
    echo "{\"qcf\": \"lists/1\", \"communityLists\": {\"CL\": [{\"action\": \"$1\", \"communities\":
        [\"65000:1\"]}], \"unnamed\": []}, \"tagSets\": {\"CL\": [1]}}"
}
lists permit >"$work/permit.json"
lists deny >"$work/deny.json"
echo '{"qcf": "lists/1"}' >"$work/none.json"
echo '{"prefix": "10.0.0.0/8", "community": ["65000:1"]}' >"$work/tagged.jsonl"
tagged=(--function import --routes "$work/tagged.jsonl" --output jsonl)
expect 0 'version 2, ' publish "$work/named.json" "${other[@]}" --lists "$work/permit.json"
expect 0 '"result":"true"' agent "${other[@]}" "${tagged[@]}" --once
expect 0 'unchanged: other version 2' \
    publish "$work/named.json" "${other[@]}" --lists "$work/permit.json"
expect 0 '0 functions set, 0 removed; 0 nodes added, 0 removed; 1 lists set, 0 removed; 1 entries added, 1 removed' \
    publish "$work/named.json" "${other[@]}" --lists "$work/deny.json"
expect 0 '"result":"false"' agent "${other[@]}" "${tagged[@]}" --once
expect 0 '"result":"true"' agent "${other[@]}" "${tagged[@]}" --once --lists "$work/permit.json"
expect 0 'warning: ' publish "$work/named.json" "${other[@]}" --lists "$work/none.json"
expect 1 'community list "CL" is not defined' agent "${other[@]}" "${tagged[@]}" --once
cat >"$work/text.qcf" <<'QCF'
list community_list CL { permit { 65000:1 } }
function "import"() { return community matches CL }
QCF
expect 0 ', 1 lists' publish "$work/text.qcf" "${other[@]}"
expect 0 '"result":"true"' agent "${other[@]}" "${tagged[@]}" --once
expect 0 '1 entries added, 1 removed' \
    publish "$work/text.qcf" "${other[@]}" --lists "$work/deny.json"
expect 0 'no entries of statements are counted' \
    agent "${other[@]}" "${tagged[@]}" --once --why --counters 3600
expect 0 '"result":"false"' agent "${other[@]}" "${tagged[@]}" --once

# Lines and reasons of a text travel along, and move with it, whatever its functions mean.
cat >"$work/lined.qcf" <<'QCF'
function "import"() {
  if community.count > 0 {
    return true because tagged
  }
  return false
}
QCF
lined=(--redis "$url" --name lined)
expect 0 'published lined version 1' publish "$work/lined.qcf" "${lined[@]}"
decided() { expect 0 "/lined.qcf\",\"line\":$1,\"column\":5,\"reason\":\"tagged\"}" agent "${lined[@]}" "${tagged[@]}" --once --why; }
decided 3
sed -i '1i # moved' "$work/lined.qcf"
expect 0 'would publish lined version 2' publish "$work/lined.qcf" "${lined[@]}" --dry-run
expect 0 '0 functions set, 0 removed; 0 nodes added, 0 removed; places of 1 functions' \
    publish "$work/lined.qcf" "${lined[@]}"
decided 4
expect 0 'lined.qcf:4 return true' agent "${lined[@]}" "${tagged[@]}" --once --counters 3600
expect 0 'unchanged: lined version 2' publish "$work/lined.qcf" "${lined[@]}"
expect 0 'published lined version 3' rollback "${lined[@]}" 1
decided 3

# Signed: whoever has the key takes nothing else.
printf 'a key of sixteen bytes\n' >"$work/key"
printf 'short' >"$work/short"
signed=(--redis "$url" --name signed)
expect 1 'wants at least 16' publish "$work/1.json" "${signed[@]}" --sign-key-file "$work/short"
expect 0 'version 1' publish "$work/1.json" "${signed[@]}"
expect 1 'not signed by the key' agent "${signed[@]}" "${routes[@]}" --once --wait 1 \
    --sign-key-file "$work/key"
grep -q 'signed: version 1 is published, and cannot be used here' "$work/err.txt" || fail "it is there"
expect 1 'not by the key' status "${signed[@]}" --check --sign-key-file "$work/key"
expect 0 'published anew' publish "$work/1.json" "${signed[@]}" --sign-key-file "$work/key"
expect 0 '"med":1' agent "${signed[@]}" "${routes[@]}" --once --sign-key-file "$work/key"
expect 0 '"med":1' agent "${signed[@]}" "${routes[@]}" --once

# An agent that stays, through two versions and the death of the server.
"$QCF_BINARY" agent "${at[@]}" "${routes[@]}" >"$work/agent.txt" 2>"$work/agenterr.txt" &
agent=$!
waitFor() {
    for _ in $(seq 200); do
        grep -qF -- "$1" "$work/agent.txt" "$work/agenterr.txt" && return
        sleep 0.05
    done
    fail "the agent never says '$1'"
}
waitFor '"med":1'
expect 0 '1 functions set' publish "$work/2.json" "${at[@]}"
waitFor '"med":2'
expect 0 'version 3' publish "$work/named.json" "${at[@]}"
waitFor 'community list "CL" is not defined'
waitFor 'edge: stays with version 2'
expect 0 'version 4' publish "$work/2.json" "${at[@]}"
waitFor 'edge version 4'
expect 0 '  in step' status "${at[@]}"
expect 0 '"version": 4' status "${at[@]}" --format json
kill -9 $server
wait $server 2>/dev/null || true
waitFor 'keeping version 4'
startServer
expect 0 'version 5' publish "$work/3.json" "${at[@]}"
waitFor '"med":3'
kill -TERM $agent
wait $agent || fail "the agent ends with exit code $?"
agent=
expect 0 'readers    0' status "${at[@]}"
