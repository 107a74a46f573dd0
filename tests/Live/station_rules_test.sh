#!/usr/bin/env bash
# What breaks the rules is closed with one line, and the rest goes on: noise, pieces of messages,
# strangers, more than there is room for.
set -euo pipefail
# shellcheck source=/dev/null
source "$QCF_SOURCE_DIR/tests/Live/station.bash"
sync=$streams/frr_sync.bmp.gz

resident() { awk '/^VmRSS/ { print $2 }' "/proc/$station/status"; }

# A station that has its tables, as much memory as it needs, and a second router beside the noise.
start --output none --message-time 700ms
play send "$sync" stay
sleep 1.5
before=$(resident)
head -c 300000 /dev/urandom >noise
printf '\x07' | dd of=noise conv=notrunc status=none
lines=0
for round in 1 2 3 4 5; do
    play send "$work/noise" stay
    play bytes 03fffffff000 stay
    # Half a message, and then nothing, or the end.
    play bytes 0300030000000011 stay
    play bytes 0300030000000011 end stay
done
for _ in 1 2 3 4 5; do lines=$((lines + 1)); done
until_ "lines about noise" toldTimes $lines 'at offset 0, before any message: BMP message .*version'
until_ "lines about 4 GB" toldTimes $lines 'has an impossible length'
until_ "lines about half a message" toldTimes $lines 'a message does not come to its end'
until_ "lines about an early end" toldTimes $lines 'closed by the router, within a message'
after=$(resident)
((after - before < 4096)) || fail "from $before KiB to $after KiB by noise"
[[ $(wc -l <err.txt) -lt 35 ]] || fail "more lines than connections"
stop
played
sameAs "$sync"

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
