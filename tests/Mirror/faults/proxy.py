"""Stands between a client and the server and does to the bytes what networks do."""

import random
import socket
import threading
import time

WAYS = ("up", "down")  # from the client, and to it


class Proxy:
    """Passes bytes on, until it is told to do something to them.

    `fault(kind, way, after)`: from `after` bytes on, what goes that way is cut off, held back
    ("delay"), sent twice ("duplicate"), changed ("garble"), swallowed ("hole") or let through in
    drops ("drip"). `heal()` drops connections that were harmed and passes everything on again.
    """

    def __init__(self, path, target, seed):
        self.path = str(path)
        self.target = str(target)
        self.random = random.Random(seed)
        self.lock = threading.Lock()
        self.harm = None
        self.left = {}
        self.harmed = 0
        self.pairs = set()
        self.listener = socket.socket(socket.AF_UNIX)
        self.listener.bind(self.path)
        self.listener.listen(50)
        threading.Thread(target=self._accept, daemon=True).start()

    @property
    def url(self):
        return f"unix://{self.path}"

    def fault(self, kind, way, after=0):
        with self.lock:
            self.left[way] = after
            self.harm = (kind, way)

    def heal(self):
        with self.lock:
            if self.harm is not None:
                self._drop()
            self.harm = None
            self.left = {}

    def drop(self):
        """Ends all connections."""
        with self.lock:
            self._drop()

    def _drop(self):
        for pair in list(self.pairs):
            for end in pair:
                try:
                    end.shutdown(socket.SHUT_RDWR)
                except OSError:
                    pass

    def _accept(self):
        while True:
            client, _ = self.listener.accept()
            server = socket.socket(socket.AF_UNIX)
            try:
                server.connect(self.target)
            except OSError:
                client.close()
                continue
            pair = (client, server)
            with self.lock:
                self.pairs.add(pair)
            for way in WAYS:
                threading.Thread(target=self._pump, args=(pair, way), daemon=True).start()

    def _pump(self, pair, way):
        source, sink = pair if way == "up" else pair[::-1]
        try:
            while data := source.recv(1 << 16):
                self._pass(data, way, sink)
        except OSError:
            pass
        for end in pair:
            try:
                end.shutdown(socket.SHUT_RDWR)
            except OSError:
                pass
        with self.lock:
            if pair in self.pairs:
                # Its other direction ends by the same shutdown; the last one closes.
                self.pairs.discard(pair)
                return
        for end in pair:
            end.close()

    def _harmNow(self, size, way):
        """What is to be done to these bytes, and from which of them on."""
        with self.lock:
            if self.harm is None or self.harm[1] != way:
                return None, size
            before = self.left.get(way, 0)
            self.left[way] = max(0, before - size)
            if before >= size:
                return None, size
            self.harmed += 1
            return self.harm[0], before

    def _pass(self, data, way, sink):
        kind, at = self._harmNow(len(data), way)
        sink.sendall(data[:at])
        rest = data[at:]
        if kind == "cut":
            raise OSError("cut off")
        if kind == "delay":
            time.sleep(self.random.uniform(0.01, 0.3))
        elif kind == "duplicate":
            rest += rest[-self.random.randrange(1, len(rest) + 1):]
        elif kind == "garble":
            rest = self._garbled(rest)
        elif kind == "hole":
            return
        elif kind == "drip":
            for i in range(0, len(rest), 700):
                time.sleep(0.002)
                sink.sendall(rest[i:i + 700])
            return
        sink.sendall(rest)

    def _garbled(self, data):
        """One byte of a few thousand is another one; the first of all at least."""
        changed = bytearray(data)
        for _ in range(1 + len(data) // 4000):
            at = self.random.randrange(len(changed))
            changed[at] ^= 1 << self.random.randrange(8)
        return bytes(changed)
