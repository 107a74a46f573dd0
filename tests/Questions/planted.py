"""Plants single changes in policies and holds `qcf diff` to leading to the line of each.

usage: planted.py COMMAND WORK CHANGES SEED FOLDER...

Changes that no route tells from the policy as it was do not count. Of the others every group of
routes has to name the planted line, on either side. Ends with 1 where more than one in twenty does
not.
"""

import json
import random
import re
import subprocess
import sys
from pathlib import Path

ROUTES = 1500
SIMPLE = re.compile(r"^\s+[a-z_][\w.]* ?(=|\+=|-=|add|remove|retain|prepend|\()[^{}]*(\{[^{}]*\})?[^{}]*$")
INSERTED = ["med += 7", "return false", "local_preference -= 3", "if med > 100 { return false }",
            "community add { 64999:7 }", "if as_path.length > 3 { med = 1 }"]
OPERATORS = [(" > ", " >= "), (" >= ", " > "), (" < ", " <= "), (" <= ", " < "), (" and ", " or "),
             (" or ", " and "), (" is not ", " is "), (" is ", " is not "), (" += ", " -= "),
             (" -= ", " += "), ("has any", "has all"), ("has none", "has any"), (" not in ", " in "),
             ("if not ", "if "), ("return true", "return false"), ("return false", "return true"),
             ("exit false", "return false"), (" add ", " remove "), (" remove ", " add ")]


def bodies(lines):
    """The lines that stand in functions, by number from 0."""
    inside = False
    for number, line in enumerate(lines):
        if re.match(r"function\b", line):
            inside = not line.rstrip().endswith("}")
        elif line.startswith("}"):
            inside = False
        elif inside and line.strip() and not line.strip().startswith("#"):
            yield number


def numbersOf(line):
    return [m for m in re.finditer(r"(?<![\w.:/-])\d+(?![\w.:/-])", line)]


def listNames(text):
    names = {}
    for kind, name in re.findall(r"^list (\w+) (\S+)", text, re.M):
        names.setdefault(kind, []).append(name)
    return names


def edits(text, lines, number):
    """Single changes of a line: what kind, the new lines, the changed ones of both sides."""
    line = lines[number]

    def replaced(new):
        return lines[:number] + [new] + lines[number + 1:]

    for match in numbersOf(line):
        kind = "bound" if re.search(r"(>|<|>=|<=|is|\.\.) ?$", line[:match.start()]) else "constant"
        for value in {int(match[0]) + 1, max(int(match[0]) - 1, 0)} - {int(match[0])}:
            new = line[:match.start()] + str(value) + line[match.end():]
            yield kind, replaced(new), {number}, {number}
    for match in re.finditer(r"(\d+):(\d+)(?![\d:])", line):
        new = line[:match.start(2)] + str(int(match[2]) ^ 1) + line[match.end():]
        yield "constant", replaced(new), {number}, {number}
    for there, instead in OPERATORS:
        at = line.find(there)
        if at >= 0:
            yield "operator", replaced(line[:at] + instead + line[at + len(there):]), {number}, {number}
    for names in listNames(text).values():
        for name in names:
            match = re.search(rf"(?<![\w-]){re.escape(name)}(?![\w-])", line)
            for other in names:
                if match and other != name:
                    new = line[:match.start()] + other + line[match.end():]
                    yield "list name", replaced(new), {number}, {number}
    if not SIMPLE.match(line):
        return
    yield "removed", lines[:number] + lines[number + 1:], {number}, set()
    indent = re.match(r"\s*", line)[0]
    for statement in INSERTED:
        yield "inserted", lines[:number] + [indent + statement] + lines[number:], set(), {number}
    if SIMPLE.match(lines[number + 1]) or re.match(r"\s+return\b[^{]*$", lines[number + 1]):
        swapped = lines[:number] + [lines[number + 1], line] + lines[number + 2:]
        yield "order", swapped, {number, number + 1}, {number, number + 1}


def routesFor(text, chance):
    """Routes of the values that the policy speaks of, and of some around them."""
    asns = [int(n) for n in re.findall(r"(?<![\d.:/])\d{3,6}(?![\d.:/])", text)] + [1299, 3320, 13335, 15169]
    pairs = re.findall(r"(?<![\d:])\d+:\d+(?![\d:])", text) + ["7:7"]
    larges = re.findall(r"(?<![\d:])\d+:\d+:\d+(?![\d:])", text) + ["7:7:7"]
    v4 = re.findall(r"\d+\.\d+\.\d+\.\d+/\d+", text) + ["9.9.9.0/24", "8.8.8.0/24", "1.1.1.0/24"]
    v6 = re.findall(r"[0-9a-f:]*::[0-9a-f]*/\d+", text) + ["2620:fe::/48", "2001:db8::/32"]
    hops = re.findall(r"\d+\.\d+\.\d+\.\d+(?!/)", text) + ["203.0.113.1"]

    def some(values, most):
        return sorted(set(chance.choices(values, k=chance.randint(0, most))))

    def prefix():
        base, length = chance.choice(v4 if chance.random() < 0.7 else v6).split("/")
        widest = 128 if ":" in base else 32
        longer = min(int(length) + chance.choice([0, 0, 0, 1, 2, 8]), widest)
        return f"{base}/{longer}"

    for _ in range(ROUTES):
        route = {"prefix": prefix(), "next_hop": chance.choice(hops),
                 "as_path": " ".join(str(n) for n in chance.choices(asns, k=chance.choice([1, 2, 3, 4, 7, 40]))),
                 "med": chance.choice([0, 0, 5, 50, 101, 251, 1000]),
                 "community": some(pairs, 3), "large_community": some(larges, 2),
                 "local_preference": chance.choice([100, 100, 80, 200])}
        if chance.random() < 0.3:
            route["origin"] = chance.choice([0, 1, 2])
        if chance.random() < 0.3:
            route["rpki.origin_as_validity"] = chance.choice([0, 1, 2])
        if chance.random() < 0.5:
            route["session"] = {"outbound": True, "vrf_id": 1}
        yield route


def outermost(text):
    names = re.findall(r"^function ([\w-]+)\(\)", text, re.M)
    body = re.sub(r"^function .*$", "", text.split("\ntest ", 1)[0], flags=re.M)
    called = [n for n in names if re.search(rf"(?<![\w-]){re.escape(n)}\(", body)]
    return [n for n in names if n not in called] or names


def headEnd(lines, line):
    """The last line of what stands before a statement's block; lines count from 1."""
    while line < len(lines):
        here, following = lines[line - 1].rstrip(), lines[line].strip()
        isOpen = re.match(r"\s*(\} else )?if\b", here) and "{" not in re.sub(r"(in|any|all|none) \{[^}]*\}", "", here)
        if not isOpen and not re.match(r"(or|and|\?\?)\b", following):
            break
        line += 1
    return line


def leads(group, old, new, planted):
    for side, lines, there in (("old", old, planted[0]), ("new", new, planted[1])):
        statement = group[side]
        if statement is None or "line" not in statement:
            continue
        begin = statement["line"]
        if any(begin <= number + 1 <= headEnd(lines, begin) for number in there):
            return True
    return False


class Plot:
    def __init__(self, command, path, work, chance):
        self.command, self.path, self.work = command, path, work
        self.text = path.read_text()
        self.lines = self.text.split("\n")
        self.routes = work / f"{path.stem}.jsonl"
        self.routes.write_text("".join(json.dumps(r) + "\n" for r in routesFor(self.text, chance)))
        self.functions = outermost(self.text)
        self.edits = [edit for number in bodies(self.lines) for edit in edits(self.text, self.lines, number)]

    def difference(self, lines):
        """The groups of the first function that differs; None where none does or it is no policy."""
        planted = self.work / self.path.name
        planted.write_text("\n".join(lines))
        for function in self.functions:
            run = subprocess.run([self.command, "diff", str(self.path), str(planted), "--function", function,
                                  "--routes", str(self.routes), "--format", "json"],
                                 text=True, stdout=subprocess.PIPE, stderr=subprocess.PIPE, check=False)
            if run.returncode != 0:
                if "error" not in run.stderr and run.returncode != 1:
                    raise RuntimeError(f"{self.path.name}: exit code {run.returncode}: {run.stderr}")
                return None
            groups = [json.loads(line) for line in run.stdout.splitlines()]
            if groups[-1]["differ"] != 0:
                return function, groups[:-1]
        return None


def main():
    command, work, wanted, seed = sys.argv[1], Path(sys.argv[2]), int(sys.argv[3]), int(sys.argv[4])
    chance = random.Random(seed)
    plots = []
    for path in sorted(p for folder in sys.argv[5:] for p in Path(folder).glob("*.qcf")):
        folder = work / path.parent.name
        folder.mkdir(exist_ok=True)
        for imported in path.parent.glob("irr"):
            (folder / "irr").exists() or (folder / "irr").symlink_to(imported.resolve())
        plots.append(Plot(command, path, folder, chance))
    # Each kind as often as the others, as far as policies have lines for it.
    byKind = {}
    for plot in plots:
        for edit in plot.edits:
            byKind.setdefault(edit[0], []).append((plot, edit))
    for each in byKind.values():
        chance.shuffle(each)
    counted, missed, tried = {}, [], 0
    while sum(counted.values()) < wanted and any(byKind.values()):
        for kind in sorted(byKind):
            while byKind[kind] and sum(counted.values()) < wanted:
                plot, (_, lines, old, new) = byKind[kind].pop()
                tried += 1
                found = plot.difference(lines)
                if found is None:
                    continue
                counted[kind] = counted.get(kind, 0) + 1
                wrong = [g for g in found[1] if not leads(g, plot.lines, lines, (old, new))]
                if wrong:
                    missed.append((kind, plot, lines, old, new, found[0], wrong))
                break
    for kind, plot, lines, old, new, function, wrong in missed:
        print(f"{plot.path.name}: {kind}, {function}()")
        for number in sorted(old):
            print(f"  - {number + 1}: {plot.lines[number].strip()}")
        for number in sorted(new):
            print(f"  + {number + 1}: {lines[number].strip()}")
        for group in wrong[:3]:
            sides = [f"{s} {group[s]['line']} {group[s]['text']} ({group[s]['result']})" if group[s] else f"{s} -"
                     for s in ("old", "new")]
            print(f"  told: {group['count']} {group['changed'][:60]}: {'; '.join(sides)}")
    total = sum(counted.values())
    print(f"{total - len(missed)} of {total} planted changes are led to ({tried} planted;",
          ", ".join(f"{kind} {count}" for kind, count in sorted(counted.items())) + ")")
    return 1 if total == 0 or len(missed) * 20 > total else 0


sys.exit(main())
