#!/usr/bin/env python3
"""A router for a test: plays recorded streams to a station.

usage: player.py PORT STEP...

Steps, in order, over one connection: `from ADDRESS` before anything else; `listen` instead of
connecting to the port; `send FILE[:BYTES]`, plain or gzip; `slowly FILE`, in small pieces; `bytes HEX`;
`again`, a new connection; `pause SECONDS`; `stay`, until the station closes; `end`, nothing more is sent.
Fails when the station sends a byte, and writes a line to standard output for each step that is done.
"""

import gzip
import socket
import sys
import time


def content(name):
    name, _, size = name.partition(":")
    with open(name, "rb") as file:
        data = file.read()
    data = gzip.decompress(data) if data.startswith(b"\x1f\x8b") else data
    return data[:int(size)] if size else data


def connected(port, source, listening):
    if listening:
        server = socket.create_server(("127.0.0.1", port))
        return server.accept()[0]
    return socket.create_connection(("127.0.0.1", port), source_address=(source, 0))


def silent(link, seconds):
    """Whether the station closed within that time; it must send nothing."""
    link.settimeout(seconds)
    try:
        got = link.recv(4096)
    except TimeoutError:
        return False
    except ConnectionResetError:
        return True
    assert not got, f"the station sends {got!r}"
    return True


def play(port, steps):
    source, listening, link = "127.0.0.1", False, None
    steps = iter(steps)
    for step in steps:
        if step == "from":
            source = next(steps)
            continue
        if step == "listen":
            listening = True
            continue
        link = link or connected(port, source, listening)
        link.settimeout(None)
        if step == "send":
            link.sendall(content(next(steps)))
        elif step == "slowly":
            data = content(next(steps))
            for at in range(0, len(data), 997):
                link.sendall(data[at:at + 997])
                time.sleep(0.001)
        elif step == "bytes":
            link.sendall(bytes.fromhex(next(steps)))
        elif step == "pause":
            silent(link, float(next(steps)))
        elif step == "stay":
            assert silent(link, 20), "the station does not close"
        elif step == "end":
            link.shutdown(socket.SHUT_WR)
        elif step == "again":
            silent(link, 0.2)
            link.close()
            link = None
        print(step, flush=True)


play(int(sys.argv[1]), sys.argv[2:])
