# The station against the routers of Debian, on loopback: unpacked under build/, nothing is installed
# and no service is started.

liveFolder=$PWD/build/live
liveAs=tests/Live/daemons

# Packages as they are, and of their libraries those that are missing here.
liveUnpack() {
    local folder=$liveFolder/packages
    [[ -x $liveFolder/root/usr/bin/gobgpd && -x $liveFolder/root/usr/lib/frr/bgpd ]] && return
    mkdir -p "$folder"
    (cd "$folder" && apt-get -qq download frr gobgpd libyang2 libc-ares2 libjson-c5 2>/dev/null)
    for package in "$folder"/*.deb; do
        dpkg -x "$package" "$liveFolder/root"
    done
}

# Ports that nobody listens on at the moment.
liveFreePorts() {
    python3 - "$1" <<'PYTHON'
import socket, sys
sockets = [socket.create_server(("127.0.0.1", 0)) for _ in range(int(sys.argv[1]))]
print(*(one.getsockname()[1] for one in sockets))
PYTHON
}

# What was started last is to be stopped, whatever comes.
livePids=()
liveStart() {
    local log=$1
    shift
    "$@" >"$log" 2>&1 &
    livePids+=($!)
}

liveStop() {
    local pid
    for pid in "${livePids[@]}"; do
        kill "$pid" 2>/dev/null || true
        wait "$pid" 2>/dev/null || true
    done
    livePids=()
}

# liveUntil SECONDS COMMAND...: waits until the command succeeds.
liveUntil() {
    local tries=$(($1 * 5))
    shift
    until "$@" >/dev/null 2>&1; do
        ((tries-- > 0)) || return 1
        sleep 0.2
    done
}

liveBgpd() {
    local root=$liveFolder/root run=$1
    {
        cat "$liveAs/bgpd.conf"
        echo "  bmp connect 127.0.0.1 port $bmpPort min-retry 200 max-retry 1000"
    } >"$run/bgpd.conf"
    export LD_LIBRARY_PATH=$root/usr/lib/x86_64-linux-gnu:$root/usr/lib/x86_64-linux-gnu/frr
    liveStart "$run/bgpd.log" "$root/usr/lib/frr/bgpd" -f "$run/bgpd.conf" -M bmp \
        --moduledir "$root/usr/lib/x86_64-linux-gnu/frr/modules" -i "$run/bgpd.pid" \
        --vty_socket "$run" -z "$run/zebra" -p "$bgpPort" -l 127.0.0.1 -Z -n -S -A 127.0.0.1 \
        -P "$vtyPort" --log stdout
    unset LD_LIBRARY_PATH
    # Before its timer has run, its route-map rejects everything.
    sleep 8
}

liveGobgpd() {
    local root=$liveFolder/root run=$1
    sed "s/@BGP@/$bgpPort/; s/@BMP@/$bmpPort/" "$liveAs/gobgpd.toml" >"$run/gobgpd.toml"
    liveStart "$run/gobgpd.log" "$root/usr/bin/gobgpd" -f "$run/gobgpd.toml" \
        --api-hosts "127.0.0.1:$vtyPort"
    sleep 2
}

# liveSpeakers FOLDER ROUTES: three sessions that announce so many routes each.
liveSpeakers() {
    local run=$1 routes=$2 remote=127.0.0.1:$bgpPort
    liveStart "$run/11.log" python3 "$liveAs/speaker.py" 127.0.0.11 64496 "$remote" "$routes"
    liveStart "$run/12.log" python3 "$liveAs/speaker.py" 127.0.0.12 64497 "$remote" "$routes" --two-octet
    liveStart "$run/14.log" python3 "$liveAs/speaker.py" 127.0.0.14 65000 "$remote" "$routes" --internal
}

liveAllSent() { [[ $(cat "$1"/1[124].log | grep -c ' sent ') == 3 ]]; }

# liveNumber FILE NAME: the number behind that name in a summary.
liveNumber() { sed -n "s/^ *$2: *\([0-9]*\).*/\1/p" "$1" | head -n 1; }

# The policy does what the router did: no difference but known and doubtful ones, and nearly all is
# compared.
liveProof() {
    local router=$1 policy=tests/Live/streams/$2 run=$liveFolder/$1 code=0 compared all
    local bmpPort bgpPort vtyPort watch
    rm -rf "$run"
    mkdir -p "$run"
    read -r bmpPort bgpPort vtyPort < <(liveFreePorts 3)
    "live${router^}" "$run"
    liveSpeakers "$run" 5000
    liveUntil 30 liveAllSent "$run" || echo "$router: the speakers have not sent all" >&2
    sleep 1
    # Over a connection that begins now both routers show rejected routes.
    liveStart "$run/summary" build/release/bin/qcf watch "$policy" --function import \
        --bmp "127.0.0.1:$bmpPort" --once --settle 3s --output none --tolerate blackhole-no-export
    watch=${livePids[-1]}
    wait "$watch" || code=$?
    liveStop
    compared=$(liveNumber "$run/summary" compared)
    all=$(sed -n 's/^compared: *[0-9]* of \([0-9]*\)$/\1/p' "$run/summary")
    echo "$router: compared ${compared:-0} of ${all:-0}, equal $(liveNumber "$run/summary" equal), known" \
        "$(liveNumber "$run/summary" known), doubtful $(liveNumber "$run/summary" doubtful)"
    if ((code != 0 || ${compared:-0} < 10000 || 100 * compared <= 98 * all)); then
        echo "$router: exit code $code, see $run" >&2
        return 1
    fi
}

# A router that dies in the middle of a table: the station stays, and says that its tables are stale.
liveDeath() {
    local run=$liveFolder/death bmpPort bgpPort vtyPort watch bgpd code=0
    rm -rf "$run"
    mkdir -p "$run"
    read -r bmpPort bgpPort vtyPort < <(liveFreePorts 3)
    liveStart "$run/events" build/release/bin/qcf watch tests/Live/streams/frr.qcf --function import \
        --bmp "127.0.0.1:$bmpPort" --settle 1s --output jsonl
    watch=${livePids[-1]}
    liveBgpd "$run"
    bgpd=${livePids[-1]}
    liveSpeakers "$run" 60000
    liveUntil 30 grep -q '"event":"route"' "$run/events" || echo "no route came" >&2
    kill -KILL "$bgpd"
    sleep 3
    # Still there, and with a summary when it is asked to end.
    kill -TERM "$watch" || code=2
    wait "$watch" || code=$?
    liveStop
    if ((code != 0)) || ! grep -q '"event":"summary".*"stale":[1-9]' "$run/events"; then
        echo "a router that dies: exit code $code, see $run" >&2
        return 1
    fi
    echo "a router that dies: the station stays, with $(grep -c '"event":"route"' "$run/events") routes told, stale"
}

check-live() {
    needs python3
    build
    liveUnpack
    trap liveStop EXIT
    local failed=0
    liveProof bgpd frr.qcf || failed=1
    liveProof gobgpd gobgp.qcf || failed=1
    liveDeath || failed=1
    return $failed
}
