"""Readers: agents that follow the name, and what they answered."""

import os
import re
import signal
import subprocess
import threading
import time
from typing import NamedTuple

import policy

VERSION = re.compile(rb"(?:^|Z info )edge version (\d+), digest ([0-9a-f]+): ")
KEPT_LINES = 60


class Seen(NamedTuple):
    """A version as a reader evaluated the table with it."""

    number: int
    digest: str
    answer: tuple  # None for a version whose answers do not belong together
    at: float


def agentCommand(binary, url, more):
    return [binary, "agent", "--redis", url, "--name", "edge", "--function", "decide", "--routes",
            "routes.jsonl", "--output", "jsonl", "--why", *more]


def environment(password):
    return {**os.environ, "QCF_REDIS_PASSWORD": password}


class Reader:
    """An agent as a process. Its two outputs are one pipe, in which each version's answers follow
    the line that names the version."""

    def __init__(self, name, binary, url, directory, more, password=""):
        self.name = name
        self.directory = directory
        self.command = agentCommand(binary, url, more)
        self.environment = environment(password)
        self.lock = threading.Condition()
        self.seen = []
        self.said = []
        self.process = None
        self.start()

    def start(self):
        self.process = subprocess.Popen(
            self.command, cwd=self.directory, env=self.environment, stdin=subprocess.DEVNULL,
            stdout=subprocess.PIPE, stderr=subprocess.STDOUT, start_new_session=True)
        threading.Thread(target=self._listen, args=(self.process,), daemon=True).start()

    def _listen(self, process):
        version, answers = None, []
        for line in process.stdout:
            if line.startswith(b"{"):
                answers.append(line)
                if version and len(answers) == policy.ROUTES:
                    self._saw(version, policy.answerOf(answers))
                    version = None
                continue
            with self.lock:
                self.said = self.said[-KEPT_LINES:] + [line.decode(errors="replace").rstrip()]
            if found := VERSION.search(line):
                if version is not None:
                    self._saw(version, None)
                version, answers = (int(found[1]), found[2].decode()), []
        process.stdout.close()

    def _saw(self, version, answer):
        with self.lock:
            self.seen.append(Seen(*version, answer, time.monotonic()))
            self.lock.notify_all()

    def waitFor(self, wanted, seconds):
        """The first sight of a version for which `wanted(seen)` holds; None if there is none."""
        end = time.monotonic() + seconds
        at = 0
        with self.lock:
            while True:
                for each in self.seen[at:]:
                    if wanted(each):
                        return each
                at = len(self.seen)
                left = end - time.monotonic()
                if left <= 0:
                    return None
                self.lock.wait(left)

    def takeSeen(self):
        """What was seen since the last call."""
        with self.lock:
            seen, self.seen = self.seen, []
            return seen

    @property
    def alive(self):
        return self.process.poll() is None

    def pause(self):
        self.process.send_signal(signal.SIGSTOP)

    def resume(self):
        self.process.send_signal(signal.SIGCONT)

    def kill(self):
        if self.alive:
            self.resume()
            self.process.kill()
        self.process.wait()

    def restart(self):
        self.kill()
        self.start()


def askOnce(binary, url, directory, more):
    """What a reader answers that comes now: (exit code, answer, what it said)."""
    done = subprocess.run(agentCommand(binary, url, ["--once", *more]), cwd=directory,
                          env=environment(""), stdin=subprocess.DEVNULL, capture_output=True,
                          timeout=60, check=False)
    lines = done.stdout.splitlines()
    answer = policy.answerOf(lines) if len(lines) == policy.ROUTES else None
    return done.returncode, answer, done.stderr.decode(errors="replace")
