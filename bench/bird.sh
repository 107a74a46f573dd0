#!/usr/bin/env bash
# Runs filters of a BIRD configuration over its routes and prints what they cost.
set -euo pipefail

usage() {
    cat >&2 <<'TEXT'
usage: bird.sh CONFIGURATION ROUTES ROUNDS FILTER... [-- COUNTED-FILTER...]

The configuration has its routes in the tables v4 and v6; it takes part in no network. Prints
"version TEXT", for each counted filter "count NAME ROUTES", the routes that it accepts, and for
each filter "time NAME NANOSECONDS...", BIRD's processor time for a walk over all routes with that
filter, once a round. The rounds of the filters alternate. Exits with 3 where BIRD is not installed.
TEXT
    exit 2
}

(($# >= 4)) || usage
configuration=$1 routes=$2 rounds=$3
shift 3
filters=() counted=()
while (($#)) && [[ $1 != -- ]]; do
    filters+=("$1")
    shift
done
(($#)) && counted=("${@:2}")

PATH=$PATH:/usr/sbin
command -v bird >/dev/null && command -v birdcl >/dev/null || exit 3

folder=$(mktemp -d)
guard=
stop() {
    if [[ -n $guard ]]; then
        kill "$guard" 2>/dev/null || true
        wait "$guard" 2>/dev/null || true
    fi
    rm -rf "$folder"
}
trap stop EXIT
trap 'exit 1' INT TERM

fail() {
    echo "bird.sh: $1" >&2
    tail -n 5 "$folder/log" >&2
    exit 1
}

# ask COMMAND: what BIRD answers, without its greeting.
ask() { timeout 60 birdcl -s "$folder/socket" "$1" | sed 1d; }

# Whatever happens, BIRD ends by itself in the end.
timeout --kill-after=5 600 bird -f -c "$configuration" -s "$folder/socket" -P "$folder/pid" \
    2>"$folder/log" &
guard=$!

# accepted FILTER: over both tables.
accepted() {
    local table reply sum=0
    for table in v4 v6; do
        reply=$(ask "show route table $table $1 count")
        [[ $reply =~ ^([0-9]+)\ of ]] || fail "no count of $1 in $table: $reply"
        sum=$((sum + BASH_REMATCH[1]))
    done
    echo "$sum"
}

# All routes are there when BIRD has worked through its configuration.
for ((tries = 0; ; ++tries)); do
    kill -0 "$guard" 2>/dev/null || fail "BIRD ended"
    if [[ -S $folder/socket && -s $folder/pid ]] && [[ $(accepted "") == "$routes" ]]; then
        break
    fi
    ((tries < 600)) || fail "BIRD did not get its routes"
    sleep 0.1
done
[[ -r /proc/$(<"$folder/pid")/schedstat ]] || fail "this system does not tell processor times"

# Nanoseconds that BIRD has computed so far.
spent() {
    local nanoseconds rest
    read -r nanoseconds rest <"/proc/$(<"$folder/pid")/schedstat"
    echo "$nanoseconds"
}

echo "version $(bird --version 2>&1)"
for filter in "${counted[@]}"; do
    echo "count $filter $(accepted "filter $filter")"
done
declare -A times
for ((round = 0; round < rounds; ++round)); do
    for filter in "${filters[@]}"; do
        before=$(spent)
        accepted "filter $filter" >/dev/null
        times[$filter]+=" $(($(spent) - before))"
    done
done
for filter in "${filters[@]}"; do
    echo "time $filter${times[$filter]}"
done
if grep -q '<ERR>' "$folder/log"; then
    fail "a filter failed"
fi
