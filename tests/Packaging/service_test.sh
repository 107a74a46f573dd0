#!/usr/bin/env bash
# The unit of the agent: known to systemd without complaint, and its command run by hand as a user
# without rights, with a policy from text, told to a service manager.
set -euo pipefail

# shellcheck source=/dev/null
source "$QCF_SOURCE_DIR/tests/support/commands.bash"
unit=$QCF_SOURCE_DIR/packaging/qcf-agent.service
work=$(mktemp -d)
server=
trap 'kill -9 $server 2>/dev/null || true; rm -rf "$work"' EXIT
cd "$work"

fail() {
    echo "FAILED: $*" >&2
    tail -n 40 ./*.txt >&2
    exit 1
}

# Where no user without rights may come by, as that of the unit.
chmod 755 "$work"
install -m 755 "$QCF_BINARY" qcf
sed "s|/usr/bin/qcf|$work/qcf|" "$unit" >qcf-agent.service
if command -v systemd-analyze >/dev/null; then
    systemd-analyze verify --man=no ./qcf-agent.service >verify.txt 2>&1 || fail "systemd-analyze"
    [[ ! -s verify.txt ]] || fail "systemd-analyze has something to say"
    # A slip in the unit is seen: the check is one.
    sed 's/^ProtectSystem=/ProtectSytem=/' qcf-agent.service >slip.service
    systemd-analyze verify --man=no ./slip.service >slip.txt 2>&1 || true
    [[ -s slip.txt ]] || fail "systemd-analyze does not see a misspelt key"
else
    echo "no systemd-analyze on this machine (package systemd): the unit is not verified"
fi

# The environment's file as the package has it, with places of this test.
redis-server --port 0 --unixsocket redis.sock --unixsocketperm 777 --dir "$work" --save '' \
    --loglevel warning >server.txt 2>&1 &
server=$!
for _ in $(seq 200); do
    [[ $(redis-cli -s redis.sock ping 2>/dev/null) == PONG ]] && break
    sleep 0.05
done
sed -e "s|redis://localhost|unix://$work/redis.sock|; s|/var/lib/qcf/table.mrt|$work/routes.jsonl|" \
    -e "s|127.0.0.1:9781|$work/run/agent.prom|" "$QCF_SOURCE_DIR/packaging/qcf-agent.env" >agent.env
echo '{"prefix": "10.0.0.0/8", "med": 7}' >routes.jsonl
cat >policy.qcf <<'TEXT'
function edge_import() {
  med += 1
  return true
}
TEXT
"$QCF_BINARY" publish policy.qcf --redis "unix://$work/redis.sock" --name edge >publish.txt
mkdir run

# Does what the manager does: starts the command with the file's variables and without rights,
# listens, sends the unit's signals.
cat >manager.py <<'PYTHON'
import os, re, signal, socket, subprocess, sys

unit, env = open("qcf-agent.service").read(), open("agent.env").read()
command = re.search(r"^ExecStart=(.*)$", unit, re.M).group(1)
reload = re.search(r"^ExecReload=.* -(\w+) \$MAINPID'?$", unit, re.M).group(1)
variables = dict(re.findall(r"^(\w+)=(.*)$", env, re.M))
words = [w for word in command.split()
         for w in (variables[word[1:]].split() if word.startswith("$") else [word])]

nobody = 65534 if os.geteuid() == 0 else None
if nobody:
    os.chown("run", nobody, nobody)
listening = socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM)
listening.bind("notify")
os.chmod("notify", 0o777)
listening.settimeout(30)
process = subprocess.Popen(words, stdin=subprocess.DEVNULL, env={"NOTIFY_SOCKET": os.path.abspath("notify")},
                           stdout=open("out.txt", "w"), stderr=open("log.txt", "w"), umask=0o077,
                           user=nobody, group=nobody, extra_groups=[] if nobody else None)

def wants(text):
    try:
        found = listening.recv(4096).decode()
    except TimeoutError:
        found = "nothing"
    if text not in found.split("\n"):
        process.kill()
        sys.exit(f"the manager wants {text}, and is told {found}")

wants("READY=1")
wants("STATUS=edge version 1")
process.send_signal(getattr(signal, "SIG" + reload))
wants("STATUS=edge version 1")
process.send_signal(signal.SIGTERM)
wants("STOPPING=1")
code = process.wait(30)
if code != 0:
    sys.exit(f"exit code {code}")
PYTHON
python3 manager.py 2>manager.txt || fail "$(cat manager.txt)"
[[ $(grep -c '^routes: *1$' out.txt) == 2 ]] || fail "one route by each of two tables"
grep -q 'reads lists and routes again' log.txt || fail "no word of the reload"
python3 "$QCF_SOURCE_DIR/tests/support/exposition.py" run/agent.prom >metrics.txt
[[ $(python3 "$QCF_SOURCE_DIR/tests/support/exposition.py" run/agent.prom qcf_agent_tables_total) == 2 ]] ||
    fail "two tables"
[[ $(stat -c %a run/agent.prom) == 644 ]] || fail "others cannot read the metrics"
