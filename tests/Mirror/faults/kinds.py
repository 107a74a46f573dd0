"""The kinds of faults: what each does while versions are published. Healing comes after it."""

from typing import NamedTuple

from world import ADVICE, KEYS, key

MOST = 2**64 - 1
LAST_VERSION = 2**32 - 1


class Kind(NamedTuple):
    name: str
    act: object  # takes the world
    forgets: bool = False  # versions that were acknowledged may be gone after it


def writerKilled(world, **how):
    for _ in range(world.random.randrange(1, 3)):
        run = world.startPublication(**how)
        world.nap(0.08)
        world.finish(run) if run.kill().code == 0 else None


def readerKilled(world):
    victim = world.random.choice(world.readers)
    run = world.startPublication()
    world.nap()
    victim.restart()
    world.finish(run)


def readerSleeps(world):
    victim = world.random.choice(world.readers)
    victim.pause()
    for _ in range(3):
        world.publish()
    victim.resume()


def serverKilled(world):
    run = world.startPublication(wait=5)
    world.nap(0.08)
    world.server.kill()
    world.nap()
    world.server.start()
    world.finish(run)


def serverEmpty(world):
    world.publish()
    world.server.kill()
    world.server.forget()
    world.nap(0.6)
    world.server.start()


def serverFromOldDump(world):
    dump = world.directory / "old.rdb"
    world.server.dump(dump)
    for _ in range(world.random.randrange(1, 3)):
        world.publish()
    world.server.kill()
    world.server.start(dump)


def serverPaused(world):
    run = world.startPublication()
    world.nap(0.06)
    world.server.pause()
    world.nap(0.8)
    world.server.resume()
    world.finish(run)


def proxied(of, kind, way, most):
    def act(world):
        proxy = world.readerProxy if of == "reader" else world.writerProxy
        proxy.fault(kind, way, world.random.randrange(most))
        if of == "reader":
            # What a connection that is there would not show: signing in and loading.
            proxy.drop() if world.random.random() < 0.5 else None
            world.publish()
            world.publish(large=world.random.random() < 0.3)
            world.nap(0.3)
        else:
            run = world.startPublication(via=proxy)
            world.nap(1.0)
            proxy.heal()
            world.finish(run)
    return act


def set_(name, *fields):
    return lambda world: world.server.command("HSET", key(name), *fields)


def otherType(world):
    for name in world.random.sample(list(KEYS), world.random.randrange(1, 3)):
        world.server.command("DEL", key(name))
        make = world.random.choice([("SET", "x"), ("SADD", "x"), ("LPUSH", "x")])
        world.server.command(make[0], key(name), make[1])
    world.publish() if world.random.random() < 0.5 else None


def junkFields(world):
    hashes = [name for name, kind in KEYS.items() if kind == "hash"]
    for _ in range(4):
        name = world.random.choice(hashes)
        there = world.server.command("HKEYS", key(name)) or ["x"]
        value = world.random.choice(["", "x", "-1", "nan", "1e300", str(MOST), str(MOST) + "0",
                                     "0-0", f"{MOST}-{MOST}", "{", "\x00\xff", "7" * 5000])
        world.server.command("HSET", key(name), world.random.choice(there), value)


def fieldsGone(world):
    for name in world.random.sample(["writer", "state", "snapshot", "history"], 2):
        for field in world.server.command("HKEYS", key(name)):
            if world.random.random() < 0.5:
                world.server.command("HDEL", key(name), field)


def keysGone(world):
    gone = world.random.sample(list(KEYS), world.random.randrange(1, 6))
    world.server.command("DEL", *(key(name) for name in gone))


def junkEntries(world):
    for _ in range(5):
        fields = world.random.choice([("x", "y"), ("b", "1", "n", "0", "k", "start", "d", "{"),
                                      ("b", "1", "n", "0", "k", "end", "d", "")])
        world.server.command("XADD", key("changes"), "*", *fields)
    world.publish()
    world.server.command("XADD", key("changes"), "*", "b", "", "n", MOST, "k", "part", "d", "\n")


def streamTrimmed(world):
    world.readers[0].pause()
    world.publish()
    world.server.command("XTRIM", key("changes"), "MAXLEN", world.random.randrange(3))
    world.readers[0].resume()


def entriesGone(world):
    """Holes within batches that a sleeping reader has still to read."""
    world.readers[1].pause()
    world.publish(large=True)
    for each in world.server.command("XRANGE", key("changes"), "-", "+"):
        if world.random.random() < 0.4:
            world.server.command("XDEL", key("changes"), each[0])
    world.readers[1].resume()


def streamAtItsEnd(world):
    world.server.command("XADD", key("changes"), f"{MOST}-{MOST}", "x", "y")


def snapshotDamaged(world):
    pieces = [field for field in world.server.command("HKEYS", key("snapshot"))
              if field.startswith("piece")] or ["piece 0"]
    change = world.random.choice([("HDEL", key("snapshot"), world.random.choice(pieces)),
                                  ("HSET", key("snapshot"), world.random.choice(pieces), "{}"),
                                  ("HSET", key("snapshot"), "position", f"{MOST}-0"),
                                  ("HSET", key("snapshot"), "pieces", MOST)])
    world.server.command(*change)
    world.random.choice(world.readers).restart()


def lastVersion(world):
    """A real version with the last number: the advice is followed."""
    world.server.command("HSET", key("state"), "version", LAST_VERSION - 1)
    world.publish()
    run = world.publish()
    advice = ADVICE.search(run.err)
    if run.code != 1 or not advice:
        raise RuntimeError(f"a version after the last: {run.code} {run.out} {run.err}")
    world.server.command(*advice[1].split())


def setting(name, value, back):
    def act(world):
        world.server.command("CONFIG", "SET", name, value)
        world.publish(wait=0)
        world.nap(0.3)
        world.server.command("CONFIG", "SET", name, back)
        world.publish()
    return act


def replica(world):
    world.server.command("REPLICAOF", "127.0.0.1", "1")
    world.publish(wait=0)
    world.random.choice(world.readers).restart()
    world.nap(0.3)


def writerWithoutRights(world):
    run = world.publish(wait=0, user=f"{world.server.LOOKER}:{world.server.PASSWORD}")
    if run.code != 1 or "NOPERM" not in run.err:
        raise RuntimeError(f"published without rights: {run.code} {run.err}")


def passwordChanges(world):
    world.server.command("CONFIG", "SET", "requirepass", "other")
    world.server.command("CLIENT", "KILL", "TYPE", "normal", "SKIPME", "yes")
    world.publish()
    world.nap(0.5)


def twoWriters(world):
    runs = []
    for _ in range(world.random.randrange(2, 4)):
        runs.append(world.startPublication(wait=5))
        world.nap(0.02)
    for run in runs:
        world.finish(run)
    # Which of them was the last one the server says.
    world.published = None
    world.acknowledged = max([world.acknowledged] + [r.version[0] for r in runs if r.version])


def writerSleeps(world):
    """One that led, and goes on when another one has led since."""
    sleeper = world.startPublication(large=True)
    world.nap(0.1)
    sleeper.pause()
    world.publish()
    last = world.acknowledged, world.published
    late = sleeper.wait()
    if late.code not in (0, 1):
        raise RuntimeError(f"a writer that slept ended with {late.code}: {late.err}")
    world.acknowledged = max(last[0], late.version[0] if late.version else 0)
    world.published = None


def rollback(world):
    for _ in range(2):
        world.publish()
        run = world.startRollback()
        world.nap(0.08)
        if world.random.random() < 0.3:
            run.kill()
            continue
        if run.wait().version:
            world.acknowledged = run.version[0]
        elif run.code != 1:
            raise RuntimeError(f"a rollback ended with {run.code}: {run.err}")


def rollbackAgainstPublication(world):
    roll = world.startRollback()
    world.nap(0.03)
    run = world.startPublication()
    for each in (roll, run):
        if each.wait().version:
            world.acknowledged = max(world.acknowledged, each.version[0])


def burst(world):
    for _ in range(6):
        world.publish()


def flush(world):
    world.server.command("FLUSHALL")
    world.publish() if world.random.random() < 0.5 else None


def clientsKilled(world):
    run = world.startPublication()
    for _ in range(5):
        world.nap(0.03)
        world.server.command("CLIENT", "KILL", "TYPE", "normal", "SKIPME", "yes")
    world.finish(run)


def scriptsFlushed(world):
    run = world.startPublication()
    for _ in range(5):
        world.server.command("SCRIPT", "FLUSH")
        world.nap(0.02)
    world.finish(run)


def manyKeptThenFew(world):
    run = world.startPublication()
    world.finish(run)
    world.server.command("HSET", key("writer"), "keep", world.random.choice(["1", "-3", "x", "2"]))
    world.publish()


KINDS = [
    Kind("nothing", lambda world: world.publish()),
    Kind("many publications", burst),
    Kind("a large publication", lambda world: world.publish(large=True)),
    Kind("writer killed", writerKilled),
    Kind("writer killed in a large batch", lambda world: writerKilled(world, large=True)),
    Kind("writer sleeps, another leads", writerSleeps),
    Kind("two writers at once", twoWriters),
    Kind("rollbacks", rollback),
    Kind("rollback against a publication", rollbackAgainstPublication),
    Kind("reader killed", readerKilled),
    Kind("slow reader", readerSleeps),
    Kind("server killed", serverKilled, forgets=True),
    Kind("server killed, empty after it", serverEmpty, forgets=True),
    Kind("server from an old dump", serverFromOldDump, forgets=True),
    Kind("server paused", serverPaused),
    Kind("everything flushed", flush, forgets=True),
    Kind("clients killed", clientsKilled),
    Kind("scripts forgotten", scriptsFlushed),
    Kind("server full", setting("maxmemory", "1", "0")),
    Kind("server takes no writes", setting("min-replicas-to-write", "2", "0")),
    Kind("server becomes a replica", replica),
    Kind("writer without rights", writerWithoutRights),
    Kind("password changes", passwordChanges),
    Kind("reader cut off", proxied("reader", "cut", "down", 20000)),
    Kind("reader delayed", proxied("reader", "delay", "down", 10)),
    Kind("reader's answers twice", proxied("reader", "duplicate", "down", 3000)),
    Kind("reader's answers garbled", proxied("reader", "garble", "down", 20000)),
    Kind("reader's commands garbled", proxied("reader", "garble", "up", 300), forgets=True),
    Kind("reader hears nothing", proxied("reader", "hole", "down", 2000)),
    Kind("reader drop by drop", proxied("reader", "drip", "down", 10)),
    Kind("writer cut off", proxied("writer", "cut", "up", 20000)),
    Kind("writer's answers cut off", proxied("writer", "cut", "down", 5000)),
    Kind("writer delayed", proxied("writer", "delay", "up", 10)),
    Kind("writer's commands twice", proxied("writer", "duplicate", "up", 20000), forgets=True),
    Kind("writer's commands garbled", proxied("writer", "garble", "up", 20000), forgets=True),
    Kind("writer's answers garbled", proxied("writer", "garble", "down", 5000), forgets=True),
    Kind("keys of other types", otherType, forgets=True),
    Kind("junk in the fields", junkFields, forgets=True),
    Kind("fields gone", fieldsGone, forgets=True),
    Kind("keys gone", keysGone, forgets=True),
    Kind("junk in the stream", junkEntries),
    Kind("stream trimmed", streamTrimmed),
    Kind("entries gone", entriesGone),
    Kind("stream at its end", streamAtItsEnd),
    Kind("snapshot damaged", snapshotDamaged),
    Kind("version beyond all", set_("state", "version", MOST), forgets=True),
    Kind("epoch at its maximum", set_("writer", "epoch", 2**63 - 1)),
    Kind("bytes at their maximum", set_("state", "bytes", 2**63 - 1)),
    Kind("the last version", lastVersion, forgets=True),
    Kind("how many are kept", manyKeptThenFew),
]
