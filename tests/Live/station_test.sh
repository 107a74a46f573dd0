#!/usr/bin/env bash
# Routers play what was recorded to a station: it comes to what the recordings come to, over however
# many connections, and what is stale is told apart.
set -euo pipefail
# shellcheck source=/dev/null
source "$QCF_SOURCE_DIR/tests/Live/station.bash"
live=$streams/frr_live.bmp.gz
sync=$streams/frr_sync.bmp.gz

# The router is away: its tables stay, as stale, and nothing is claimed to differ.
start --output none
play send "$live" pause 1
played
wantsTold 'closed by the router'
stop
[[ $code == 0 ]] || fail "an interrupted station ends with $code"
grep -qE '^in stale tables: +[1-9][0-9]{2}' out.txt || fail "stale tables are not told"
grep -qE '^(verdict|attributes): +0$' out.txt || fail "stale tables are taken for good"

# It comes back: what holds is what it sent last.
start --output none
play send "$live" pause 0.3 again send "$sync" stay
wantsTold 'closed by the router'
sleep 1.5
stop
played
sameAs "$sync"

# In pieces that end anywhere, after a connection that broke off within a message.
start --output none
play send "$live:30001" again slowly "$sync" stay
wantsTold 'within a message'
sleep 2
stop
played
sameAs "$sync"

# --once ends with the tables, as does a recording; a router that breaks off has not proved anything.
start --output none --once --tolerate blackhole-no-export
play send "$sync" stay
ended
played
sameAs "$sync"
replayed=0
"$QCF_BINARY" watch "$streams/frr.qcf" --function import --replay "$sync" --output none \
    --tolerate blackhole-no-export >/dev/null 2>&1 || replayed=$?
[[ $code == "$replayed" ]] || fail "exit code $code, of the recording $replayed"
start --output none --once
play send "$sync:20000"
ended
played
[[ $code == 1 ]] || fail "exit code $code after half a table"
grep -qF 'gone before all of its tables' err.txt || fail "half a table is not told"

# With --resync the connection is closed once it has settled, and the next one counts.
start --output none --once --resync
play send "$live" stay again send "$sync" stay
ended
played
sameAs "$sync"

# Of two connections of one router the newer one counts.
start --output jsonl
play send "$live" stay
wantsTold '"event":"sync"|"event":"peer"'
play send "$sync" stay
wantsTold 'the router has connected anew'
stop
played
grep -qF '"stale":0,' out.txt || fail "stale tables beside a connection"

# What is recorded is what came, and replays to the same tables.
start --output none --record recordings --once
play send "$sync" stay
ended
played
summaryOf "$(echo recordings/*.bmp)" | diff - <(summaryOf "$sync") || fail "recorded another thing"
gzip -dc "$sync" | cmp - recordings/*.000001.bmp || fail "recorded other bytes"

# A router that listens is connected to, as soon as it is there and whenever it is there again.
free=$(python3 -c 'import socket; s = socket.create_server(("127.0.0.1", 0)); print(s.getsockname()[1])')
start --output none --bmp-connect "127.0.0.1:$free"
wantsTold 'cannot be reached, tries on'
port=$free
play listen send "$live" pause 0.5
played
play listen send "$sync" stay
sleep 3
stop
played
sameAs "$sync"
