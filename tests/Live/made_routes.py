#!/usr/bin/env python3
"""Makes a table of a router twice: as the stream that it sends, and as routes in lines of JSON.

usage: made_routes.py COUNT STREAM ROUTES [GONE]

Every route has MED and a community of its own kind; the stream has the table before policy and, so that
it counts as complete, ends of both families. GONE is what the router sends on when it withdraws every
third route.
"""

import ipaddress
import json
import struct
import sys

PEER = ipaddress.ip_address("192.0.2.1")
count, stream, routes, *gone = int(sys.argv[1]), *sys.argv[2:]


def bmp(kind, body):
    peer = struct.pack("!BBQ12x4sIIII", 0, 0, 0, PEER.packed, 65001, 1, 0, 0)
    body = body if kind == 4 else peer + body
    return struct.pack("!BIB", 3, 6 + len(body), kind) + body


def bgp(kind, body):
    return b"\xff" * 16 + struct.pack("!HB", 19 + len(body), kind) + body


def open_message(number):
    four = struct.pack("!BBI", 65, 4, number)
    parameters = struct.pack("!BB", 2, len(four)) + four
    return bgp(1, struct.pack("!BHHIB", 4, number, 180, number, len(parameters)) + parameters)


def attribute(code, value):
    return struct.pack("!BBB", 0x40, code, len(value)) + value


def announcement(number, med, community):
    attributes = (attribute(1, b"\0") + attribute(2, struct.pack("!BBII", 2, 2, 65001, 65100 + number % 7)) +
                  attribute(3, PEER.packed) + attribute(4, struct.pack("!I", med)) +
                  attribute(8, struct.pack("!HH", *community)))
    return bgp(2, struct.pack("!HH", 0, len(attributes)) + attributes + prefix_of(number))


def prefix_of(number):
    return b"\x18" + struct.pack("!I", (0x100000 + number) << 8)[:3]


with open(stream, "wb") as out, open(routes, "w", encoding="ascii") as text:
    out.write(bmp(4, struct.pack("!HH5s", 2, 5, b"edge1")))
    out.write(bmp(3, bytes(16) + struct.pack("!HH", 179, 179) + open_message(65000) + open_message(65001)))
    for number in range(count):
        med, community = number % 100, (65000, number % 13)
        out.write(bmp(0, announcement(number, med, community)))
        prefix = ipaddress.ip_address((0x100000 + number) << 8)
        text.write(json.dumps({"prefix": f"{prefix}/24", "med": med, "as_path": f"65001 {65100 + number % 7}",
                               "community": ["%d:%d" % community]}) + "\n")
    out.write(bmp(0, bgp(2, bytes(4))))
    out.write(bmp(0, bgp(2, struct.pack("!HHBBBHB", 0, 6, 0x80, 15, 3, 2, 1))))
if gone:
    with open(gone[0], "wb") as out:
        for number in range(0, count, 3):
            out.write(bmp(0, bgp(2, struct.pack("!H", 4) + prefix_of(number) + bytes(2))))
