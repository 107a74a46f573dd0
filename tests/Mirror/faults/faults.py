#!/usr/bin/env python3
"""Tries published stores against faults: a server, writers and readers as processes.

usage: faults.py [--rounds N] [--seed S] [--kind TEXT] [--verbose] QCF

Each round takes one kind of fault from the table, publishes while it lasts, heals what stands in the
way, publishes once more, and ends when every reader evaluates with that version. Functions and lists
answer by the version's numbers, so that a mixture of two versions shows in the answers. Told are

    mixed  versions whose answers are of no publication that was ever tried
    lost   acknowledged versions that are gone, readers that ended or went back, late readers that do
           not get what is live
    stuck  publications that fail after the fault, readers that do not follow the next publication

Exit code 1 unless all three are 0. Half of the rounds have a server that writes what it is told to a
file, and signatures; the other half a server in memory, and none.
"""

import argparse
import random
import statistics
import sys
import tempfile
import time
import traceback
from collections import Counter
from pathlib import Path

from kinds import KINDS
from world import PATIENCE, World


class Tally:
    """What the rounds came to."""

    def __init__(self):
        self.counts = Counter()
        self.times = []
        self.notes = []

    def add(self, fault, round_, kind, text):
        self.counts[fault] += 1
        note = f"round {round_}, {kind.name}: {fault}: {text}"
        self.notes.append(note)
        print(note, flush=True)


class Round:
    """One kind of fault, once."""

    def __init__(self, number, kind, world, tally):
        self.number, self.kind, self.world, self.tally = number, kind, world, tally

    def fault(self, what, text):
        self.tally.add(what, self.number, self.kind, text)

    def run(self):
        try:
            self.kind.act(self.world)
            self.world.heal()
            acknowledged = self.world.acknowledged
            start = time.monotonic()
            run = self.world.mustPublish()
        except Exception as error:  # whatever it is, the driver goes on with a fresh world
            self.fault("stuck", f"{error}\n{traceback.format_exc()}")
            return False
        number, _ = run.version
        if not self.kind.forgets and number <= acknowledged:
            self.fault("lost", f"version {acknowledged} was acknowledged, the next one is {number}")
        good = self.readersFollow(run, start)
        good = self.lateReaderSees(run) and good
        self.judgeSeen()
        return good

    def readersFollow(self, run, start):
        number, digest = run.version
        last = start
        for reader in self.world.readers:
            if not reader.alive:
                self.fault("lost", f"reader {reader.name} ended: {reader.said[-5:]}")
                reader.start()
            seen = reader.waitFor(lambda each: each[:2] == (number, digest),
                                  PATIENCE - (time.monotonic() - start))
            if seen is None:
                self.fault("stuck", f"reader {reader.name} is not at version {number}: "
                                    f"{reader.said[-8:]}")
                return False
            if seen.answer != run.answer:
                self.fault("mixed", f"reader {reader.name} answers {seen.answer} with version "
                                    f"{number}, which is {run.answer}")
            last = max(last, seen.at)
        self.tally.times.append(last - start)
        return True

    def lateReaderSees(self, run):
        code, answer, said = self.world.askOnce()
        if code != 0 or answer != run.answer:
            self.fault("lost", f"a late reader ends with {code}, answers {answer}, live is "
                               f"{run.answer}: {said[-500:]}")
            return False
        return True

    def judgeSeen(self):
        for reader in self.world.readers:
            last = 0
            for each in reader.takeSeen():
                if each.answer not in self.world.attempted:
                    self.fault("mixed", f"reader {reader.name}, version {each.number}: answers "
                                        f"{each.answer} are of no publication")
                if each.number < last and not self.kind.forgets:
                    self.fault("lost", f"reader {reader.name} went back from version {last} to "
                                       f"{each.number}")
                last = each.number


class Worlds:
    """The two servers, made anew where a round left one in disorder."""

    def __init__(self, binary, directory, seed):
        self.binary, self.directory, self.seed = binary, Path(directory), seed
        self.worlds = {}
        self.made = 0

    def take(self, appendOnly):
        if appendOnly not in self.worlds:
            self.made += 1
            self.worlds[appendOnly] = World(self.binary, self.directory / str(self.made),
                                            appendOnly, self.seed + self.made)
        return self.worlds[appendOnly]

    def drop(self, appendOnly):
        self.worlds.pop(appendOnly).close()

    def close(self):
        for appendOnly in list(self.worlds):
            self.drop(appendOnly)


def plan(rounds, seed, kinds):
    """Which kind each round takes: all of them again and again, each time in another order."""
    shuffled = random.Random(seed)
    rows = []
    while len(rows) < rounds:
        rows += shuffled.sample(kinds, len(kinds))
    return rows[:rounds]


def tell(tally, rounds, kinds, seconds):
    times = sorted(tally.times) or [0.0]
    print(f"rounds {rounds}, kinds {len(kinds)}, mixed {tally.counts['mixed']}, "
          f"lost {tally.counts['lost']}, stuck {tally.counts['stuck']}")
    print(f"from the start of a publication to the last reader: middle "
          f"{statistics.median(times):.3f} s, worst {times[-1]:.3f} s; all rounds {seconds:.0f} s")


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--rounds", type=int, default=len(KINDS))
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--kind", default="", help="only kinds whose names have this")
    parser.add_argument("--verbose", action="store_true")
    parser.add_argument("qcf", type=Path)
    options = parser.parse_args()
    kinds = [kind for kind in KINDS if options.kind in kind.name]
    tally = Tally()
    done = Counter()
    start = time.monotonic()
    with tempfile.TemporaryDirectory(prefix="qcf-faults-") as directory:
        worlds = Worlds(options.qcf.resolve(), directory, options.seed)
        try:
            for number, kind in enumerate(plan(options.rounds, options.seed, kinds), 1):
                # Each kind meets both servers.
                appendOnly = (done[kind.name] + kinds.index(kind)) % 2 == 0
                done[kind.name] += 1
                began = time.monotonic()
                if not Round(number, kind, worlds.take(appendOnly), tally).run():
                    worlds.drop(appendOnly)
                if options.verbose:
                    print(f"{number} {kind.name}: {time.monotonic() - began:.2f} s", flush=True)
        finally:
            worlds.close()
    tell(tally, options.rounds, done, time.monotonic() - start)
    return 0 if not tally.counts else 1


if __name__ == "__main__":
    sys.exit(main())
