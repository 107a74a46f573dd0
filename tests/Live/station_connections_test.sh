#!/usr/bin/env bash
# Stations that end by themselves or record, routers that connect twice or are connected to.
set -euo pipefail
# shellcheck source=/dev/null
source "$QCF_SOURCE_DIR/tests/Live/station.bash"
live=$streams/frr_live.bmp.gz
sync=$streams/frr_sync.bmp.gz

# With --resync the connection is closed once it has settled, and the next one counts.
start --once --resync
play send "$live" stay again send "$sync" stay
ended
played
sameAs "$sync"

# Of two connections of one router the newer one counts.
start
play send "$live" stay
wantsTold '"event":"sync"|"event":"peer"'
play send "$sync" stay
wantsTold 'the router has connected anew'
stop
played
grep -qF '"stale":0,' out.txt || fail "stale tables beside a connection"

# What is recorded is what came, and replays to the same tables.
start --record recordings --once
play send "$sync" stay
ended
played
summaryOf recordings/lab-frr.000001.bmp | diff - <(summaryOf "$sync") || fail "recorded another thing"

# A router that listens is connected to, as soon as it is there and whenever it is there again.
free=$(python3 -c 'import socket; s = socket.create_server(("127.0.0.1", 0)); print(s.getsockname()[1])')
start --bmp-connect "127.0.0.1:$free"
wantsTold 'cannot be reached, tries on'
port=$free
play listen send "$live" pause 0.5
played
play listen send "$sync" stay
wantsTables 12
stop
played
sameAs "$sync"
