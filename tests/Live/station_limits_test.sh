#!/usr/bin/env bash
# Who may connect, what is kept and for how long.
set -euo pipefail
# shellcheck source=/dev/null
source "$QCF_SOURCE_DIR/tests/Live/station.bash"
sync=$streams/frr_sync.bmp.gz

# Strangers.
code=0
"$QCF_BINARY" watch "$streams/frr.qcf" --function import --bmp 0.0.0.0:0 >out.txt 2>err.txt || code=$?
[[ $code == 2 ]] && told 'say with --allow PREFIX' || fail "listens to the world unasked: $code"
start --output none --allow 127.0.0.2/32
for _ in 1 2 3 4 5; do play send "$sync" stay; done
# To who is refused, the first write or the second one may fail.
for pid in "${players[@]}"; do wait "$pid" || true; done
players=()
wantsTold '127.0.0.1 is not allowed to connect'
toldTimes 1 'is not allowed' || fail "a line for each stranger"
play from 127.0.0.2 send "$sync" stay
sleep 1.5
stop
played
sameAs "$sync"

# More routes than there is room for: that router goes, and a smaller one stays.
start --output none --max-routes 300
play send "$sync" stay
wantsTold 'more than 300 routes'
played
play send "$sync:12000" stay
sleep 1
stop
played
grep -qE '^compared: +[0-9]+ of [1-9]' out.txt || fail "nothing is left beside the limit"

# A router that does not come back is given up, and one peer alone is kept.
start --output none --keep 300ms --keep-only 127.0.0.11
play send "$sync"
played
wantsTold 'given up'
play send "$sync" stay
sleep 1
stop
played
read -r _ compared _ all < <(summaryOf "$sync" | head -n 1)
read -r _ kept _ of < <(head -n 1 out.txt)
((kept > 0 && of < all && compared > kept)) || fail "kept $kept of $of, all are $all"
