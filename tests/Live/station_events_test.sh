#!/usr/bin/env bash
# What of a router's routes is told: of which ones, and to who reads slowly.
set -euo pipefail
# shellcheck source=/dev/null
source "$QCF_SOURCE_DIR/tests/Live/station.bash"
exposition=$QCF_SOURCE_DIR/tests/support/exposition.py
python3 -B "$QCF_SOURCE_DIR/tests/Live/made_routes.py" 30000 table.bmp table.jsonl gone.bmp
echo 'function "import"() { if med > 50 { return false } return true }' >old.qcf
echo 'function "import"() { if med > 30 { return false } return true }' >new.qcf
cp old.qcf edge.qcf
policy=(edge.qcf)
routeEvents() { grep -c '"event":"route"' out.txt; }
# Route events without that text.
others() { grep '"event":"route"' out.txt | grep -vF "$1" || true; }
isRouteEvents() { [[ $(routeEvents) == "$1" ]]; }

# Those with a verdict: MED is 0 to 99 in turn.
start --only rejected
play send table.bmp stay
until_ "all that are rejected" isRouteEvents 14700
[[ -z $(others '"result":"false"') ]] || fail "others are told as well"
stop
played

# Those that become otherwise, once another policy holds.
start --only changed
play send table.bmp stay
wantsTold '"event":"sync".*"family":"ipv6"'
sleep 0.5
isRouteEvents 0 || fail "routes are told that nothing became of"
cp new.qcf edge.qcf
until_ "all that changed" isRouteEvents 6000
[[ -z $(others '"result":"false","was":"true"') ]] || fail "others changed"
stop
played

# Differences alone.
sed 's/med += 50/med += 51/' "$streams/frr.qcf" >other.qcf
policy=(other.qcf)
start --only differs
play send "$streams/frr_sync.bmp.gz" stay
wantsTold '"event":"differs".*"med"'
isRouteEvents 0 || fail "routes are told beside differences"
stop
played

# Nobody reads, but for the first line, while a table comes and a third of it goes again: the station
# hears all of it, and later tells how it is.
mkfifo pipe
exec 9<>pipe
"$QCF_BINARY" watch old.qcf --function import --bmp 127.0.0.1:0 --settle 500ms --output jsonl \
    --metrics shown.prom >pipe 2>err.txt &
station=$!
read -r first <&9
port=$(sed -nE 's/.*listens at [^ ]*:([0-9]+).*/\1/p' <<<"$first")
play send table.bmp pause 1 send gone.bmp stay
isHeard() {
    [[ $(python3 "$exposition" shown.prom qcf_watch_messages_total 'type=route monitoring') == 40002 ]]
}
until_ "all messages while nobody reads" isHeard
[[ $(python3 "$exposition" shown.prom qcf_watch_routes) == 20000 ]] || fail "routes are lost"
resident=$(awk '/^VmRSS/ { print $2 }' "/proc/$station/status")
((resident < 200000)) || fail "$resident KiB"
cat <&9 >got.txt &
reader=$!
trap 'kill -9 $station $reader ${players[*]:-} 2>/dev/null || true; rm -rf "$work"' EXIT
isIdle() {
    local before
    before=$(wc -l <got.txt)
    sleep 1
    [[ $before -gt 20000 && $before == "$(wc -l <got.txt)" ]]
}
until_ "the end of what is told" isIdle
stop
until_ "the summary" grep -qF '"event":"summary"' got.txt
kill "$reader"
played
python3 - <<'PY' || fail "what is told at last is not what holds"
import json

told, last, lines = {}, {}, 0
for text in open("got.txt"):
    event = json.loads(text)
    if event["event"] == "route":
        told[event["prefix"]] = told.get(event["prefix"], 0) + 1
        last[event["prefix"]] = event["result"]
held = [json.loads(text) for text in open("table.jsonl")]
for number, route in enumerate(held):
    wanted = (None, "none") if number % 3 == 0 else ("false" if route["med"] > 50 else "true",)
    assert last.get(route["prefix"]) in wanted, (route, last.get(route["prefix"]))
assert max(told.values()) <= 2, "a line for each change"
PY
