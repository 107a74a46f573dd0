"""A Redis server of the driver's own, and the little of its protocol that the driver speaks."""

import shutil
import signal
import socket
import subprocess
import time
from pathlib import Path


class Refused(Exception):
    """The server answered with an error."""


class Connection:
    """Sends commands and reads their answers: texts, numbers, None, and lists of these."""

    def __init__(self, path):
        self.socket = socket.socket(socket.AF_UNIX)
        self.socket.settimeout(20)
        self.socket.connect(str(path))
        self.stream = self.socket.makefile("rb")

    def command(self, *arguments):
        parts = [part if isinstance(part, bytes) else str(part).encode() for part in arguments]
        text = b"*%d\r\n" % len(parts)
        text += b"".join(b"$%d\r\n%s\r\n" % (len(part), part) for part in parts)
        self.socket.sendall(text)
        return self._answer()

    def close(self):
        self.stream.close()
        self.socket.close()

    def _answer(self):
        line = self.stream.readline()
        if not line.endswith(b"\r\n"):
            raise ConnectionError("the server closed the connection")
        kind, rest = line[:1], line[1:-2]
        if kind == b"-":
            raise Refused(rest.decode(errors="replace"))
        if kind == b"+":
            return rest.decode()
        if kind == b":":
            return int(rest)
        size = int(rest)
        if size < 0:
            return None
        if kind == b"*":
            return [self._answer() for _ in range(size)]
        return self.stream.read(size + 2)[:-2].decode(errors="replace")


class Server:
    """A server with a directory and a socket of its own, and an account that may only read."""

    LOOKER = "looker"
    PASSWORD = "pw"
    RIGHTS = ["+hgetall", "+hmget", "+xread", "+auth", "+ping"]

    def __init__(self, directory, appendOnly):
        self.directory = Path(directory)
        self.path = self.directory / "redis.sock"
        self.appendOnly = appendOnly
        self.process = None
        self.admin = None

    def start(self, dump=None):
        """With what it wrote before; with a dump in its place where one is given."""
        if dump is not None:
            self.forget()
            shutil.copy(dump, self.directory / "dump.rdb")
        log = open(self.directory / "server.log", "ab")
        appends = "yes" if self.appendOnly and dump is None else "no"
        self.process = subprocess.Popen(
            ["redis-server", "--port", "0", "--unixsocket", str(self.path), "--dir",
             str(self.directory), "--save", "", "--appendonly", appends, "--appendfsync", "no",
             "--user", self.LOOKER, "on", f">{self.PASSWORD}", "~*", *self.RIGHTS],
            stdout=log, stderr=log, start_new_session=True)
        log.close()
        self._connect()
        if self.appendOnly and dump is not None:
            self.command("CONFIG", "SET", "appendonly", "yes")

    def _connect(self):
        end = time.monotonic() + 20
        while True:
            try:
                self.admin = Connection(self.path)
                self.command("PING")
                return
            except (OSError, Refused):
                if time.monotonic() > end or self.process.poll() is not None:
                    raise RuntimeError("the server does not start") from None
                time.sleep(0.01)

    def command(self, *arguments):
        return self.admin.command(*arguments)

    def kill(self):
        """At once, as a machine that loses its power."""
        if self.process is not None:
            self.process.send_signal(signal.SIGCONT)
            self.process.kill()
            self.process.wait()
            self.admin.close()
        self.process = None

    def forget(self):
        """Takes away what it wrote."""
        (self.directory / "dump.rdb").unlink(missing_ok=True)
        shutil.rmtree(self.directory / "appendonlydir", ignore_errors=True)

    def dump(self, to):
        """What it holds now, as a file that it can be started with."""
        self.command("SAVE")
        shutil.copy(self.directory / "dump.rdb", to)
        (self.directory / "dump.rdb").unlink()

    def pause(self):
        self.process.send_signal(signal.SIGSTOP)

    def resume(self):
        self.process.send_signal(signal.SIGCONT)

    @property
    def url(self):
        return f"unix://{self.path}"
