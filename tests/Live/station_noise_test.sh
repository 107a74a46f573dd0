#!/usr/bin/env bash
# Noise and pieces of messages are closed with one line each, and take no memory.
set -euo pipefail
# shellcheck source=/dev/null
source "$QCF_SOURCE_DIR/tests/Live/station.bash"
sync=$streams/frr_sync.bmp.gz

resident() { awk '/^VmRSS/ { print $2 }' "/proc/$station/status"; }

# Under AddressSanitizer what was freed stays for a while: no more than this.
export ASAN_OPTIONS=${ASAN_OPTIONS:+$ASAN_OPTIONS:}quarantine_size_mb=1:thread_local_quarantine_size_kb=64

# A station that has its tables, as much memory as it needs, and a second router beside the noise.
start --message-time 700ms
play send "$sync" stay
wantsTables 12
sleep 1
before=$(resident)
head -c 300000 /dev/urandom >noise
printf '\x07' | dd of=noise conv=notrunc status=none
lines=5
for ((round = 0; round < lines; ++round)); do
    play send "$work/noise" stay
    play bytes 03fffffff000 stay
    # Half a message, and then nothing, or the end.
    play bytes 0300030000000011 stay
    play bytes 0300030000000011 end stay
done
until_ "lines about noise" toldTimes $lines 'at offset 0, before any message: BMP message .*version'
until_ "lines about 4 GB" toldTimes $lines 'has an impossible length'
until_ "lines about half a message" toldTimes $lines 'a message does not come to its end'
until_ "lines about an early end" toldTimes $lines 'closed by the router, within a message'
after=$(resident)
((after - before < 8192)) || fail "from $before KiB to $after KiB by noise"
[[ $(grep -c '"event":"note"' out.txt) -lt 35 ]] || fail "more lines than connections"
stop
played
sameAs "$sync"
