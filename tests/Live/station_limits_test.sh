#!/usr/bin/env bash
# Who may connect, what is kept and for how long.
set -euo pipefail
# shellcheck source=/dev/null
source "$QCF_SOURCE_DIR/tests/Live/station.bash"
sync=$streams/frr_sync.bmp.gz
sentTimes() { [[ $(grep -c '^send$' played.txt) == "$1" ]]; }

# Strangers.
code=0
"$QCF_BINARY" watch "$streams/frr.qcf" --function import --bmp 0.0.0.0:0 >out.txt 2>err.txt || code=$?
[[ $code == 2 ]] || fail "listens to the world unasked: $code"
told 'say with --allow PREFIX' || fail "not told how others may be allowed"
start --allow 127.0.0.2/32
for _ in 1 2 3 4 5; do play send "$sync" stay; done
# To who is refused, the first write or the second one may fail.
for pid in "${players[@]}"; do wait "$pid" || true; done
players=()
wantsTold '127.0.0.1 is not allowed to connect'
toldTimes 1 'is not allowed' || fail "a line for each stranger"
play from 127.0.0.2 send "$sync" stay
wantsTables 12
stop
played
sameAs "$sync"

# More connections than there is room for.
start
python3 - "$port" <<'CONNECTIONS' || fail "other connections are closed than those beyond 64"
import socket
import sys

links = [socket.create_connection(("127.0.0.1", int(sys.argv[1]))) for _ in range(66)]
for link in links[64:]:
    link.settimeout(5)
    assert link.recv(1) == b""
links[0].settimeout(0.2)
try:
    sys.exit(links[0].recv(1) == b"")
except TimeoutError:
    pass
CONNECTIONS
toldTimes 1 'finds all connections in use' || fail "a line for each"
stop

# More routes than there is room for: that router goes, and the next one has its own.
start --max-routes 300
: >played.txt
play send "$sync" stay
wantsTold 'more than 300 routes'
played
play send "$sync:12000" stay
until_ "the second router" sentTimes 2
sleep 0.5
stop
played
grep -qE '"compared":[1-9]' out.txt || fail "nothing is left beside the limit"

# A router that does not come back is given up, and one peer alone is kept.
start --keep 300ms --keep-only 127.0.0.11
play send "$sync" pause 0.3
played
wantsTold 'given up'
play send "$sync" stay
wantsTables 8
stop
played
kept=$(sed -nE 's/.*"compared":([0-9]+).*/\1/p' out.txt)
all=$(summaryOf "$sync" | sed -nE 's/.*"compared":([0-9]+).*/\1/p')
((kept > 100 && kept < all)) || fail "kept $kept of $all"
