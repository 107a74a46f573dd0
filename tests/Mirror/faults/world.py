"""A server, readers and writers, and what they are held to."""

import json
import random
import re
import signal
import subprocess
import time
from pathlib import Path

import policy
from proxy import Proxy
from readers import Reader, askOnce, environment
from server import Server

PATIENCE = 30  # seconds until a reader counts as stuck
PUBLISHED = re.compile(r"^(published|unchanged:) edge version (\d+), digest ([0-9a-f]+)")
ADVICE = re.compile(r"`redis-cli (DEL [^`]*)`")
KEYS = {"writer": "hash", "changes": "stream", "state": "hash", "snapshot": "hash",
        "snapshot.next": "hash", "readers": "hash", "history": "hash", "history.snapshots": "hash"}


def key(name):
    return "qcf:{edge}:" + name


class Run:
    """A publication or a rollback as a process."""

    def __init__(self, world, arguments):
        self.process = subprocess.Popen(
            [world.binary, *arguments, "--name", "edge", *world.signing], cwd=world.directory,
            env=environment(""), stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
            stderr=subprocess.PIPE, text=True, errors="replace", start_new_session=True)
        self.code, self.out, self.err = None, "", ""

    def pause(self):
        self.process.send_signal(signal.SIGSTOP)

    def kill(self):
        if self.process.poll() is None:
            self.process.send_signal(signal.SIGCONT)
            self.process.kill()
        return self.wait()

    def wait(self, seconds=60):
        if self.process.poll() is None:
            self.process.send_signal(signal.SIGCONT)
        try:
            self.out, self.err = self.process.communicate(timeout=seconds)
            self.code = self.process.returncode
        except subprocess.TimeoutExpired:
            self.process.kill()
            self.out, self.err = self.process.communicate()
            self.code = "hung"
        return self

    @property
    def version(self):
        """(number, digest) of what is live by it; None where it failed."""
        found = PUBLISHED.match(self.out)
        return (int(found[2]), found[3]) if self.code == 0 and found else None


class World:
    """One server with three readers: one at it, one behind a proxy, one that may only read."""

    def __init__(self, binary, directory, appendOnly, seed):
        self.binary = str(binary)
        self.directory = Path(directory)
        self.directory.mkdir()
        self.random = random.Random(seed)
        # Half of the rounds run under a key as well.
        self.signing = ["--sign-key-file", "sign.key"] if appendOnly else []
        (self.directory / "sign.key").write_text("the key of the tests of faults\n")
        (self.directory / "routes.jsonl").write_text(policy.routesText())
        self.server = Server(self.directory, appendOnly)
        self.server.start()
        self.readerProxy = Proxy(self.directory / "reader.sock", self.server.path, seed)
        self.writerProxy = Proxy(self.directory / "writer.sock", self.server.path, seed + 1)
        self.content = policy.Content(1, 1, 40, 0)
        self.attempted = set()  # answers of all that was ever tried
        self.acknowledged = 0  # the newest version that a writer was told of
        self.published = None  # the answer that must be live; None where nobody knows
        looker = f"unix://{Server.LOOKER}@{self.server.path}"
        self.publish()
        make = lambda name, url, password="": Reader(name, self.binary, url, self.directory,
                                                     self.signing, password)
        self.readers = [make("direct", self.server.url), make("proxied", self.readerProxy.url),
                        make("looker", looker, Server.PASSWORD)]

    # Publications.

    def nextContent(self, large=False):
        """Other functions, other lists, or both."""
        what = self.random.choice(["functions", "lists", "both"])
        old = self.content
        # Snapshots of some size are not written with every version.
        size = 12000 if large else self.random.choice([old.size] * 4 + [40])
        self.content = policy.Content(old.functions + (what != "lists"),
                                      old.lists + (what != "functions"), size,
                                      old.fill + (large or self.random.random() < 0.3))
        self.attempted.add(self.content.answer)
        return self.content

    def startPublication(self, via=None, wait=2, large=False, user=None):
        content = self.nextContent(large)
        path = self.directory / content.fileName
        path.write_text(policy.text(content))
        for old in sorted(self.directory.glob("policy-*.qcf"), key=lambda p: p.stat().st_mtime)[:-6]:
            old.unlink()
        url = via.url if via else self.server.url
        if user:
            url = f"unix://{user}@{self.server.path}"
        run = Run(self, ["publish", path.name, "--redis", url, "--wait", str(wait)])
        run.answer = content.answer
        return run

    def finish(self, run):
        """Notes what a publication came to."""
        run.wait()
        if run.version:
            self.acknowledged = run.version[0]
            self.published = run.answer
        else:
            self.published = None
        return run

    def publish(self, **how):
        return self.finish(self.startPublication(**how))

    def mustPublish(self, **how):
        run = self.publish(wait=10, **how)
        if run.code != 0:
            raise RuntimeError(f"publish ended with {run.code}: {run.err.strip()[-600:]}")
        return run

    def history(self):
        done = subprocess.run([self.binary, "history", "--redis", self.server.url, "--name", "edge",
                               "--format", "json"], cwd=self.directory, capture_output=True,
                              text=True, timeout=60, check=True)
        return json.loads(done.stdout)

    def startRollback(self):
        version = self.random.choice(self.history())["version"]
        run = Run(self, ["rollback", str(version), "--redis", self.server.url, "--wait", "2"])
        # Which one it was the readers tell.
        run.answer = None
        return run

    def nap(self, most=0.05):
        time.sleep(self.random.uniform(0, most))

    # The end of a round.

    def heal(self):
        """Takes away whatever keeps the next publication from its readers."""
        self.readerProxy.heal()
        self.writerProxy.heal()
        if self.server.process is None:
            self.server.start()
        self.server.resume()
        self.server.command("REPLICAOF", "NO", "ONE")
        for setting, value in [("maxmemory", "0"), ("min-replicas-to-write", "0"),
                               ("requirepass", "")]:
            self.server.command("CONFIG", "SET", setting, value)
        for reader in self.readers:
            reader.resume()

    def askOnce(self):
        return askOnce(self.binary, self.server.url, self.directory, self.signing)

    def close(self):
        for reader in self.readers:
            reader.kill()
        self.server.kill()
