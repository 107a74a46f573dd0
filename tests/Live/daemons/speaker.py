#!/usr/bin/env python3
"""A BGP speaker on loopback that announces made-up routes to a router and then stays.

usage: speaker.py LOCAL-ADDRESS AS REMOTE:PORT ROUTES [--two-octet] [--internal]

The routes are the same each time. They have what the policies of the check look at: prefixes, path
endings and communities of their lists, among many that are in none."""

import argparse
import ipaddress
import random
import socket
import struct
import sys

OPEN, UPDATE, NOTIFICATION, KEEPALIVE = 1, 2, 3, 4


def message(kind, body=b""):
    return b"\xff" * 16 + struct.pack("!HB", 19 + len(body), kind) + body


def attribute(flags, code, value):
    return struct.pack("!BBH", flags | 0x10, code, len(value)) + value


class Speaker:
    def __init__(self, wanted):
        self.wanted = wanted
        self.number = vars(wanted)["as"]
        self.random = random.Random(self.number)
        host, port = wanted.remote.rsplit(":", 1)
        self.socket = socket.create_connection((host, int(port)), 30, (wanted.local, 0))
        self.stream = self.socket.makefile("rb")

    def open(self):
        capabilities = b"".join(struct.pack("!BBHBB", 1, 4, afi, 0, 1) for afi in (1, 2))
        if not self.wanted.two_octet:
            capabilities += struct.pack("!BBI", 65, 4, self.number)
        parameter = struct.pack("!BB", 2, len(capabilities)) + capabilities
        identifier = ipaddress.ip_address(self.wanted.local).packed
        self.socket.sendall(message(OPEN, struct.pack(
            "!BHH4sB", 4, self.number, 240, identifier, len(parameter)) + parameter))

    def read(self):
        head = self.stream.read(19)
        if len(head) < 19:
            sys.exit(f"{self.wanted.local}: the router has closed")
        length, kind = struct.unpack("!HB", head[16:])
        body = self.stream.read(length - 19)
        if kind == NOTIFICATION:
            sys.exit(f"{self.wanted.local}: NOTIFICATION {body.hex()}")
        return kind

    def path(self):
        choose = self.random
        ases = [] if self.wanted.internal else [self.number]
        ases += [choose.randrange(1000, 60000) for _ in range(choose.randrange(1, 5))]
        if choose.random() < 0.02:
            ases += [20840, choose.randrange(1000, 60000)]
        if choose.random() < 0.05:
            ases.append(choose.randrange(10, 600) * 100 + 70 + choose.randrange(10))
        return struct.pack("!BB", 2, len(ases)) + b"".join(
            struct.pack("!H" if self.wanted.two_octet else "!I", one) for one in ases)

    def communities(self):
        choose = self.random
        pool = [(64496, 5200), (64497, 1800), (64498, 3200), (64496, 4100), (64497, 1300)]
        found = [choose.choice(pool) for _ in range(choose.randrange(3))]
        found += [(choose.randrange(1, 65000), choose.randrange(65536))] * choose.randrange(2)
        return b"".join(struct.pack("!HH", *one) for one in sorted(set(found)))

    def update(self, number):
        choose = self.random
        body = attribute(0x40, 1, b"\0") + attribute(0x40, 2, self.path())
        length = choose.choice((16, 20, 22, 24, 24, 24))
        first = choose.choice((5, 45, 77, 80, 83, 130, 185, 200, 201))
        network = ipaddress.ip_network((first << 24 | number << 8, length), strict=False)
        six = number % 5 == 0
        if six:
            length = choose.choice((32, 36, 40, 48, 56))
            network = ipaddress.ip_network(((0x2001 << 16 | number) << 96, length), strict=False)
        prefix = bytes([length]) + network.network_address.packed[:(length + 7) // 8]
        if not six:
            body += attribute(0x40, 3, ipaddress.ip_address("198.51.100.9").packed)
        if choose.random() < 0.5:
            body += attribute(0x80, 4, struct.pack("!I", choose.randrange(200)))
        if self.wanted.internal:
            body += attribute(0x40, 5, struct.pack("!I", choose.choice((80, 100, 120))))
        communities = self.communities()
        if communities:
            body += attribute(0xc0, 8, communities)
        if six:
            body += attribute(0x80, 14, struct.pack("!HBB", 2, 1, 16) +
                              ipaddress.ip_address("2001:db8::9").packed + b"\0" + prefix)
        if choose.random() < 0.2:
            body += attribute(0xc0, 32, struct.pack(
                "!III", choose.choice((64496, 64497)), choose.choice((1, 2)), number))
        return message(UPDATE, struct.pack("!HH", 0, len(body)) + body + (b"" if six else prefix))

    def run(self):
        self.open()
        while self.read() != OPEN:
            pass
        self.socket.sendall(message(KEEPALIVE))
        while self.read() != KEEPALIVE:
            pass
        for start in range(0, self.wanted.routes, 500):
            some = range(start, min(start + 500, self.wanted.routes))
            self.socket.sendall(b"".join(self.update(number) for number in some))
        self.socket.sendall(message(UPDATE, b"\0\0\0\0"))
        print(f"{self.wanted.local}: sent {self.wanted.routes} routes", flush=True)
        self.socket.settimeout(None)
        while True:
            if self.read() == KEEPALIVE:
                self.socket.sendall(message(KEEPALIVE))


parser = argparse.ArgumentParser()
parser.add_argument("local")
parser.add_argument("as", type=int)
parser.add_argument("remote")
parser.add_argument("routes", type=int)
parser.add_argument("--two-octet", action="store_true")
parser.add_argument("--internal", action="store_true")
Speaker(parser.parse_args()).run()
