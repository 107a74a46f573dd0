#!/usr/bin/env bash
# Another policy takes the place of the one before while a router's routes stand: from a file and from a
# published store. What the event says it changes is what a comparison of both policies says of the same
# routes; a bad one changes nothing; metrics show what holds.
set -euo pipefail
# shellcheck source=/dev/null
source "$QCF_SOURCE_DIR/tests/Live/station.bash"
exposition=$QCF_SOURCE_DIR/tests/support/exposition.py
redis=
trap 'kill -9 $station $redis ${players[*]:-} 2>/dev/null || true; rm -rf "$work"' EXIT
python3 -B "$QCF_SOURCE_DIR/tests/Live/made_routes.py" 30000 table.bmp table.jsonl

# text BOUND PREFERENCE
text() {
    cat <<TEXT
list prefix_list BOGONS v4 { permit 16.0.16.0/20 le 32 }
function "import"() {
  if prefix matches v4 BOGONS { return false }
  if med > $1 { return false because too-far }
  if community has any { 65000:7 } { local_preference = $2 }
  return true
}
TEXT
}
text 50 200 >old.qcf
text 30 300 >new.qcf
cp old.qcf edge.qcf

events() { grep -c '"event":"policy"' out.txt; }
isEvents() { [[ $(events) == "$1" ]]; }
# event NUMBER EXPRESSION: what Python makes of `event`, the policy event of that number.
event() {
    python3 - "$@" <<'PY'
import json, sys
events = [json.loads(line) for line in open("out.txt") if '"event":"policy"' in line]
print(eval(sys.argv[2], {"event": events[int(sys.argv[1]) - 1]}))
PY
}
# differences OLD NEW: what a comparison says of the routes, as the event does.
differences() {
    "$QCF_BINARY" diff "$1" "$2" --function import --routes table.jsonl --format json >diff.txt
    python3 - <<'PY'
import json
words = {"accepted": "true", "rejected": "false"}
changed = {}
for line in open("diff.txt"):
    group = json.loads(line)
    if "changed" in group:
        before, arrow, after = group["changed"].partition(" -> ")
        isVerdict = before in words and after in words
        key = f"{words[before]}->{words[after]}" if isVerdict else "attributes"
        changed[key] = changed.get(key, 0) + group["count"]
print(sorted(changed.items()))
PY
}
# agrees NUMBER OLD NEW: the event says what the comparison says.
agrees() {
    local said
    said=$(event "$1" 'sorted(event["changed"].items())')
    [[ $said == "$(differences "$2" "$3")" ]] || fail "policy event $1 says $said"
}

# From a file. The second event is that of the way back.
policy=(edge.qcf)
start --metrics shown.prom --threads 2
play send table.bmp stay
wantsTold '"event":"sync".*"family":"ipv6"'
cp new.qcf edge.qcf
until_ "another policy" isEvents 1
agrees 1 old.qcf new.qcf
[[ $(event 1 'event["routes"]') == 30000 ]] || fail "not all routes are of the event"
[[ $(event 1 'event["decided"][0]["by"]["reason"]') == too-far ]] || fail "what decides is not told"
echo 'function "import"() {' >edge.qcf
wantsTold 'stays with the policy that it has'
isEvents 1 || fail "a bad policy is shown"
cp old.qcf edge.qcf
until_ "the old policy" isEvents 2
agrees 2 new.qcf old.qcf
[[ $(event 1 'event["from"]') == $(event 2 'event["to"]') ]] || fail "digests of one policy differ"
# The same again is no other policy, whoever asks.
touch edge.qcf
kill -HUP "$station"
sleep 1.5
isEvents 2 || fail "a policy takes its own place"

# What metrics show is what holds.
shown() { python3 "$exposition" shown.prom "$@"; }
isShown() { [[ $(shown "${@:2}") == "$1" ]]; }
until_ "all routes in the metrics" isShown 30000 qcf_watch_routes peer=192.0.2.1 rib=in-pre family=ipv4
until_ "the policy in the metrics" isShown 1 qcf_watch_policy_info "digest=$(event 2 'event["to"]')"
accepted=$("$QCF_BINARY" eval old.qcf --function import --routes table.jsonl --output none |
    awk '$1 == "true:" { print $2 }')
isShown "$accepted" qcf_watch_verdicts result=true || fail "$accepted routes are accepted"
isShown 30000 qcf_watch_verdicts || fail "not all routes have a verdict"
isShown 30000 qcf_watch_decided || fail "not all routes have a statement"
isShown 30002 qcf_watch_messages_total 'type=route monitoring' || fail "messages are not counted"
isShown 0 qcf_watch_damaged_total || fail "damage is counted"
while read -r family; do
    grep -q "^| \`$family[\`{]" "$QCF_SOURCE_DIR/docs/metrics.md" || fail "$family is not told of"
done < <(sed -n 's/^# TYPE \([^ ]*\) .*/\1/p' shown.prom)
kill "${players[@]}"
stop
players=()

# From a published store.
command -v redis-server >/dev/null || exit 0
redis-server --port 0 --unixsocket redis.sock --dir "$work" --save '' --loglevel warning >server.txt 2>&1 &
redis=$!
isThere() { [[ $(redis-cli -s redis.sock ping 2>/dev/null) == PONG ]]; }
until_ "a server" isThere
store=(--redis "unix://$work/redis.sock" --name edge)
"$QCF_BINARY" publish old.qcf "${store[@]}" >published.txt
policy=("${store[@]}")
start
play send table.bmp stay
wantsTold '"event":"sync".*"family":"ipv6"'
"$QCF_BINARY" publish new.qcf "${store[@]}" >published.txt
until_ "another version" isEvents 1
agrees 1 old.qcf new.qcf
kill "${players[@]}"
stop
players=()
