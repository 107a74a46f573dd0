# What scripts that let made-up routers play to a station begin with. Sourced.

command -v python3 >/dev/null || exit 77
[[ -x $QCF_BINARY ]] || {
    echo "the command is not built"
    exit 77
}
streams=$QCF_SOURCE_DIR/tests/Live/streams
work=$(mktemp -d)
station=
players=()
policy=("$streams/frr.qcf") # file or store, of which the function "import" is taken
cd "$work"
trap 'kill -9 $station ${players[*]:-} 2>/dev/null || true; rm -rf "$work"' EXIT

fail() {
    echo "FAILED: $*" >&2
    tail -n 20 ./*.txt >&2
    exit 1
}

# until_ WHAT TEST...: tries until the test is good.
until_() {
    local what=$1
    shift
    for _ in $(seq 400); do
        "$@" && return
        sleep 0.05
    done
    fail "it never comes to $what"
}
told() { grep -qE -- "$1" err.txt out.txt; }
toldTimes() { [[ $(cat err.txt out.txt | grep -cE -- "$2") == "$1" ]]; }
wantsTold() { until_ "'$1'" told "$1"; }
# A table for each event; the recording of a whole router ends with the last of them.
wantsTables() { until_ "$1 tables" toldTimes "$1" '"event":"sync"'; }

# start OPTION...: a station that listens at $port, with the policy.
start() {
    : >err.txt
    : >out.txt
    "$QCF_BINARY" watch "${policy[@]}" --function import --bmp 127.0.0.1:0 --settle 500ms \
        --output jsonl "$@" >out.txt 2>err.txt &
    station=$!
    wantsTold 'listens at [^ ]*:[0-9]+'
    port=$(sed -nE 's/.*listens at [^ ]*:([0-9]+).*/\1/p' err.txt out.txt | head -n 1)
}
# stop: interrupts the station; `code` is how it ends.
stop() {
    kill -INT "$station" 2>/dev/null || true
    ended
}
ended() {
    code=0
    wait "$station" || code=$?
    station=
}
# play STEP...: a router that plays to the station, in the background.
play() {
    python3 -B "$QCF_SOURCE_DIR/tests/Live/player.py" "$port" "$@" >>played.txt 2>&1 &
    players+=($!)
}
# played: the routers have done their steps, without a fault.
played() {
    local pid
    for pid in "${players[@]}"; do
        wait "$pid" || fail "a router's steps fail"
    done
    players=()
}

# summaryOf STREAM: the event of what a recording comes to.
summaryOf() {
    "$QCF_BINARY" watch "$streams/frr.qcf" --function import --replay "$1" --output jsonl \
        2>/dev/null | summary
}
summary() { grep '"event":"summary"' "$@" | sed -E 's/"time":"[^"]*",//'; }
# sameAs STREAM: the station has come to what the recording comes to.
sameAs() {
    diff <(summaryOf "$1") <(summary out.txt) >diff.txt || fail "another summary than that of $1"
}
