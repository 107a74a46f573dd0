#!/usr/bin/env bash
# What an agent shows of itself, against a server of its own: versions and lag as policies are
# published, refused and lost sight of; counters that agree with the summary and with --counters;
# lines of the log as JSON.
set -euo pipefail

# shellcheck source=/dev/null
source "$QCF_SOURCE_DIR/tests/support/commands.bash"
exposition=$QCF_SOURCE_DIR/tests/support/exposition.py
work=$(mktemp -d)
server=
agent=
trap 'kill -9 $server $agent 2>/dev/null || true; rm -rf "$work"' EXIT
cd "$work"
at=(--redis "unix://$work/redis.sock" --name edge)

fail() {
    echo "FAILED: $*" >&2
    tail -n 40 ./*.txt log.jsonl >&2
    exit 1
}

startServer() {
    redis-server --port 0 --unixsocket redis.sock --dir "$work" --appendonly yes --save '' \
        --loglevel warning >server.txt 2>&1 &
    server=$!
    for _ in $(seq 200); do
        [[ $(redis-cli -s redis.sock ping 2>/dev/null) == PONG ]] && return
        sleep 0.05
    done
    fail "the server does not start"
}

# shown NAME [LABEL=VALUE...]: what the agent shows.
shown() { python3 "$exposition" "$source" "$@"; }

# until WHAT TEST...: tries until the test is good.
until_() {
    local what=$1
    shift
    for _ in $(seq 300); do
        "$@" 2>/dev/null && return
        sleep 0.05
    done
    shown >shown.txt || true
    fail "it never comes to $what"
}
is() { [[ $(shown "${@:2}") == "$1" ]]; }
exceeds() { awk -v a="$1" -v b="$(shown "${@:2}")" 'BEGIN { exit !(b > a) }'; }
# wants VALUE NAME [LABEL=VALUE...]
wants() { is "$@" || fail "$(shown "${@:2}") is shown for ${*:2}, not $1"; }

# policy BOUND CONDITION
policy() {
    cat <<TEXT
function edge_import() {
  if med > $1 {
    return false
  } else if $2 {
    local_preference = 200
    med += 1
    return true
  }
  return unknown
}
TEXT
}
policy 7 'as_path.length > 2' >1.qcf
policy 3 'as_path.length > 2' >2.qcf
policy 3 'prefix matches v4 NOWHERE' >3.qcf
routes() { for i in $(seq "$1"); do echo "{\"prefix\": \"10.0.$i.0/24\", \"med\": $i, \"as_path\": \"1 2${2:-}\"}"; done; }
{ routes 10; routes 4 ' 3'; } >routes.jsonl
startServer

run=(agent "${at[@]}" --function edge_import --routes routes.jsonl --output none)
expect 2 'say --metrics-public' "${run[@]}" --metrics 0.0.0.0:0
expect 2 'wants IPV4-ADDRESS:PORT or FILE.prom, found "9781"' "${run[@]}" --metrics 9781
expect 1 'none/a.prom: No such file or directory' "${run[@]}" --metrics none/a.prom
expect 2 '--log-format' "${run[@]}" --log-format xml

python3 "$exposition" --self-test
served=(--metrics 127.0.0.1:0)
"$QCF_BINARY" "${run[@]}" "${served[@]}" --once --wait 0 >/dev/null 2>err.txt || true
if grep -q 'built without a server of metrics' err.txt; then
    echo "no HTTP here: metrics are looked at in the file alone"
    served=()
fi
"$QCF_BINARY" "${run[@]}" "${served[@]}" --metrics a.prom --counters 3600 --log-format json \
    </dev/null >summaries.txt 2>log.jsonl &
agent=$!
source=$work/a.prom
if ((${#served[@]})); then
    address() { grep -o 'http://127.0.0.1:[0-9]*/metrics' log.jsonl; }
    until_ "an address" address >/dev/null
    source=$(address)
fi
until_ "a connection" is 1 qcf_agent_connected
wants 0 qcf_agent_version
wants 0 qcf_agent_published_version
wants 0 qcf_agent_tables_total

# A version: it is the one in use, and the numbers are those of the summary.
expect 0 'published edge version 1' publish 1.qcf "${at[@]}"
digest=$(sed 's/.*digest \([0-9a-f]*\).*/\1/' out.txt)
until_ "version 1" is 1 qcf_agent_version
wants 1 qcf_agent_published_version
wants 1 qcf_agent_policy_info "digest=$digest" name=edge function=edge_import
wants 0 qcf_agent_lag_versions
wants 0 qcf_agent_lag_seconds
summary() { awk -v name="$1:" '$1 == name { sum += $2 } END { print sum + 0 }' summaries.txt; }
agrees() {
    wants "$(summary routes)" qcf_agent_routes_total
    for result in true false unknown; do
        wants "$(summary $result)" qcf_agent_verdicts_total result=$result
    done
    wants "$(summary changed)" qcf_agent_changed_routes_total
    wants "$(summary med)" qcf_agent_changes_total attribute=med
    wants "$(summary local_preference)" qcf_agent_changes_total attribute=local_preference
}
agrees
wants 14 qcf_agent_routes_total
wants 3 qcf_agent_verdicts_total result=false
wants 4 qcf_agent_verdicts_total result=true
wants 14 qcf_agent_statement_verdicts_total
wants 3 qcf_agent_statement_verdicts_total 'statement=return false'

# The next one, and one that cannot be evaluated with: the lag tells, until a good one comes.
expect 0 'published edge version 2' publish 2.qcf "${at[@]}"
until_ "version 2" is 2 qcf_agent_version
agrees
wants 0 qcf_agent_failed_tables_total
errors=$(shown qcf_agent_log_lines_total level=error)
expect 0 'published edge version 3' publish 3.qcf "${at[@]}"
until_ "a refusal" is 1 qcf_agent_failed_tables_total
until_ "version 3 published" is 3 qcf_agent_published_version
wants 2 qcf_agent_version
wants 1 qcf_agent_lag_versions
until_ "a lag" exceeds 0.3 qcf_agent_lag_seconds
expect 0 'published edge version 4' publish 1.qcf "${at[@]}"
until_ "version 4" is 4 qcf_agent_version
until_ "no lag" is 0 qcf_agent_lag_seconds
wants 1 qcf_agent_policy_info "digest=$digest"
wants 1 qcf_agent_policy_info
wants "$((errors + 1))" qcf_agent_log_lines_total level=error

# A server that dies and comes back.
kill -9 $server
wait $server 2>/dev/null || true
until_ "a loss" is 0 qcf_agent_connected
wants 1 qcf_agent_connection_losses_total
until_ "a silence" exceeds 0.3 qcf_agent_silence_seconds
wants 4 qcf_agent_version
startServer
until_ "a connection again" is 1 qcf_agent_connected

# Told to, it reads the routes again.
tables=$(shown qcf_agent_tables_total)
routes 20 >routes.jsonl
kill -HUP $agent
until_ "one table more" is $((tables + 1)) qcf_agent_tables_total
agrees
wants 0 qcf_agent_damaged_records_total
"$QCF_BINARY" generate-table --routes 50 --out table.mrt
head -c -5 table.mrt >routes.jsonl
kill -HUP $agent
until_ "a damaged table" is $((tables + 2)) qcf_agent_tables_total
agrees
wants "$(awk '/^damaged records:/ { print $3 }' summaries.txt)" qcf_agent_damaged_records_total
exceeds 0 qcf_agent_damaged_records_total || fail "no damaged record"
echo '{"prefix": "none"}' >routes.jsonl
kill -HUP $agent
until_ "a table at fault" is 2 qcf_agent_failed_tables_total
wants 4 qcf_agent_version
wants "$((errors + 2))" qcf_agent_log_lines_total level=error
mv routes.jsonl away.jsonl
kill -HUP $agent
until_ "a table that is not there" is 3 qcf_agent_failed_tables_total
mv away.jsonl routes.jsonl

# What is served and what the file has are the same, but for times.
untimed() { grep -vE '^(exposer_|qcf_agent_(silence|table)_seconds)' "$1" | sort; }
if ((${#served[@]})); then
    shown >served.txt
    same() {
        python3 "$exposition" a.prom >filed.txt
        cmp -s <(untimed served.txt) <(untimed filed.txt)
    }
    until_ "one state in both" same
    [[ $(untimed served.txt | wc -l) -gt 30 ]] || fail "few metrics in served.txt"
    port=${source#http://}
    expect 1 'Address already in use' "${run[@]}" --metrics "${port%/metrics}"
fi

# The end: the file has the last state, and --counters tells the same of the last version.
kill -TERM $agent
wait $agent || fail "the agent ends with exit code $?"
agent=
source=$work/a.prom
agrees
python3 - log.jsonl <<'PYTHON' >counters.txt
import json, re, sys
lines = [json.loads(line) for line in open(sys.argv[1], encoding="utf-8")]
for line in lines:
    assert list(line) == ["time", "level", "message"], line
    assert re.fullmatch(r"\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{3}Z", line["time"]), line
    assert line["level"] in ("info", "warning", "error"), line
assert any(l["level"] == "error" and "NOWHERE" in l["message"] for l in lines)
assert any(l["level"] == "warning" and "stays with version 2" in l["message"] for l in lines)
last = max(i for i, l in enumerate(lines) if "edge version 4: entries" in l["message"])
for line in lines[last + 1 :]:
    if found := re.fullmatch(r"  (\d+) (\d+) edge_import (\d+) .*", line["message"]):
        print(*found.groups())
PYTHON
[[ $(wc -l <counters.txt) -ge 6 ]] || fail "few lines of counters"
while read -r entries verdicts key; do
    wants "$entries" qcf_agent_statement_entries_total in=edge_import "key=$key"
    wants "$verdicts" qcf_agent_statement_verdicts_total in=edge_import "key=$key"
done <counters.txt
wants "$(awk '{ sum += $1 } END { print sum }' counters.txt)" qcf_agent_statement_entries_total

# A text with its time and level in front, and one without.
routes 3 >routes.jsonl
expect 0 'version 4' "${run[@]}" --once --log-format text
grep -qE '^20[0-9-]{8}T[0-9:.]{12}Z info edge version 4, digest ' err.txt || fail "no time and level"
expect 0 'version 4' "${run[@]}" --once
grep -q '^edge version 4, digest ' err.txt || fail "no plain line"
