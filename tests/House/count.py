#!/usr/bin/env python3
"""Counts how the project is built up: size, arrows, prose, names as text, casts.

usage: count.py [--check] [--list] [TREE]

TREE is the root of a work tree (this one unless given), so that an old commit can be counted too.
--list names what stands behind the counts. --check says nothing but what breaks the rules of the
house: an arrow up, a circle, a private header reached from a public one or elsewhere, over 40 arrows
between the wings of the engine; exit code 1 then.
"""

import sys
from collections import defaultdict
from pathlib import Path

import arrows
import sources
import words

MOST_ARROWS = 40
LONG = (250, 400)
KNOWN_CIRCLES = Path(__file__).parent / "known_circles.txt"


def listed(show, rows):
    if show:
        for row in sorted(rows):
            print("   ", *row) if isinstance(row, tuple) else print("   ", row)


def byFolder(files):
    folders = defaultdict(list)
    for source in files.values():
        wing = source.wing if source.folder in sources.WINGS else ""
        folders[f"{source.folder}/{wing}" if wing else source.folder].append(source)
    order = sources.FLOORS + sources.YARDS
    return sorted(folders.items(), key=lambda item: (order.index(item[1][0].folder), item[0]))


def share(part):
    comments, lines = words.prose(part)
    return f"{comments / lines:5.3f}" if lines else "    -"


def printSizes(files):
    print(f"{'folder':24}{'files':>6}{'lines':>8}{'generated':>16}   prose: headers sources")
    for folder, group in byFolder(files):
        hand = [s for s in group if not s.isGenerated]
        made = [s for s in group if s.isGenerated]
        lines, madeLines = (sum(len(s.lines) for s in part) for part in (hand, made))
        print(f"{folder:24}{len(hand):6}{lines:8}{len(made):8}{madeLines:8}          "
              f"{share([s for s in hand if s.isHeader])}   {share([s for s in hand if not s.isHeader])}")
    hand = [s for s in files.values() if not s.isGenerated]
    tests = sum(len(s.lines) for s in hand if s.folder == "tests")
    lines = sum(len(s.lines) for s in hand)
    print(f"hand-written lines: {lines}, of these tests: {tests} ({tests / lines:.2f})")


def printArrows(files, show):
    for folder in sources.WINGS:
        across, upward = arrows.wingArrows(files, folder)
        print(f"arrows between wings of {folder}: {len(across)}, upward {len(upward)}")
        listed(show, [(*pair, "UP" if pair in upward else "") for pair in across])
    down, up = arrows.publicPairs(files)
    print(f"pairs of wings and public headers of {sources.ENGINE}: wing to public {len(down)}, "
          f"public to wing {len(up)}")
    listed(show, up)
    across, upward = arrows.homeArrows(files)
    print(f"arrows between wings if a public header is of its source's wing: {len(across)}, "
          f"upward {len(upward)}")
    listed(show, upward)
    print(f"floors of headers in {sources.ENGINE}: {arrows.depth(files, sources.ENGINE)}")
    for what, found in (("arrows up between folders", arrows.folderArrowsUp(files)),
                        ("public headers that reach a private one", arrows.privateReached(files)),
                        ("private headers included from elsewhere", arrows.privateUsed(files)),
                        ("circles of stems", [", ".join(c) for c in arrows.stemCircles(files)])):
        print(f"{what}: {len(found)}")
        listed(show, found)


def countedByFolder(places):
    counts = defaultdict(int)
    for place in places:
        counts[place.split("/")[0]] += 1
    return ", ".join(f"{folder} {count}" for folder, count in sorted(counts.items())) or "none"


def printWords(files, root, show):
    engine = [s for s in files.values() if s.folder in sources.FLOORS and not s.isGenerated]
    for what, names in zip(("node classes", "node fields"), words.schemaNames(root)):
        found = words.namedAsText(engine, names)
        print(f"lines with names of {what} as text: {len(found)} ({countedByFolder(p for p, _ in found)})")
        listed(show, found)
    for text in ("dynamic_cast<", "classNumber"):
        found = words.linesWith(engine, text)
        print(f"lines with {text}: {len(found)} ({countedByFolder(found)})")
        listed(show, found)


def printLengths(files, root, show):
    rows = {"attributes.py", "nodes.py"}
    schema = [f for f in sorted((root / "QcfLib/schema").glob("*.py"))]
    lines = {f.name: len(f.read_text().splitlines()) for f in schema}
    print(f"lines of the schema's rows: {sum(n for f, n in lines.items() if f in rows)}, "
          f"of its generator: {sum(n for f, n in lines.items() if f not in rows)}")
    for limit in LONG:
        long = [(len(s.lines), s.path) for s in files.values()
                if not s.isGenerated and len(s.lines) > limit]
        print(f"hand-written files over {limit} lines: {len(long)}")
        listed(show, long)


def broken(files):
    """What breaks the rules, a sentence each."""
    for folder in sources.WINGS:
        across, upward = arrows.wingArrows(files, folder)
        yield from (f"an arrow up in {folder}: {a} includes {b}" for a, b in sorted(upward))
        if folder == sources.ENGINE and len(across) > MOST_ARROWS:
            yield f"{len(across)} arrows between the wings of {folder}, {MOST_ARROWS} at most"
    yield from (f"an arrow up: {a} includes {b}" for a, b in arrows.folderArrowsUp(files))
    yield from (f"public {a} reaches private {b}" for a, b in arrows.privateReached(files))
    yield from (f"{a} includes private {b}" for a, b in arrows.privateUsed(files))
    known = [set(line.split()) for line in KNOWN_CIRCLES.read_text().splitlines() if line[:1] != "#"]
    new, gone = arrows.newCircles(files, known)
    yield from (f"a circle: {', '.join(circle)}" for circle in new)
    yield from (f"no circle any more, take it out of {KNOWN_CIRCLES.name}: {', '.join(row)}" for row in gone)


def main(arguments):
    flags = {a for a in arguments if a.startswith("--")}
    paths = [a for a in arguments if a not in flags]
    if flags - {"--check", "--list"} or len(paths) > 1:
        print(__doc__, file=sys.stderr)
        return 2
    root = Path(paths[0] if paths else Path(__file__).parents[2]).resolve()
    files = sources.readTree(root)
    if not files:
        print(f"no sources below {root}", file=sys.stderr)
        return 2
    if "--check" in flags:
        problems = list(broken(files))
        print("\n".join(problems) or f"{len(files)} files stand as they should")
        return 1 if problems else 0
    printSizes(files)
    printArrows(files, "--list" in flags)
    printWords(files, root, "--list" in flags)
    printLengths(files, root, "--list" in flags)
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
