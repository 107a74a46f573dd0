#!/usr/bin/env bash
# Routers play what was recorded to a station: it comes to what the recordings come to, over however
# many connections, and what is stale is told apart.
set -euo pipefail
# shellcheck source=/dev/null
source "$QCF_SOURCE_DIR/tests/Live/station.bash"
live=$streams/frr_live.bmp.gz
sync=$streams/frr_sync.bmp.gz

# The router is away: its tables stay, as stale, and nothing is claimed to differ.
start
play send "$live" pause 1
played
wantsTold 'closed by the router'
stop
[[ $code == 0 ]] || fail "an interrupted station ends with $code"
grep -qE '"verdict":0,"attributes":0,.*"stale":[1-9][0-9]{2},' out.txt ||
    fail "stale tables are not told, or taken for good"

# It comes back: what holds is what it sent last.
start
play send "$live" pause 0.3 again send "$sync" stay
wantsTables 12
stop
played
sameAs "$sync"

# In pieces that end anywhere, after a connection that broke off within a message.
start
play send "$live:30001" again slowly "$sync" stay
wantsTold 'within a message'
wantsTables 12
stop
played
sameAs "$sync"

# --once ends with the tables, as does a recording; a router that breaks off has not proved anything.
start --once --tolerate blackhole-no-export
play send "$sync" stay
ended
played
sameAs "$sync"
replayed=0
"$QCF_BINARY" watch "$streams/frr.qcf" --function import --replay "$sync" --output none \
    --tolerate blackhole-no-export >/dev/null 2>&1 || replayed=$?
[[ $code == "$replayed" ]] || fail "exit code $code, of the recording $replayed"
start --once
play send "$sync:20000"
ended
played
[[ $code == 1 ]] || fail "exit code $code after half a table"
grep -qF 'gone before all of its tables' err.txt || fail "half a table is not told"
