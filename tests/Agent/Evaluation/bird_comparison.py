"""Generates cases, has qcf and BIRD evaluate them, and compares what comes out.

usage: bird_comparison.py QCF FOLDER SEED

A group is one function for qcf, with a route a case, and for BIRD a function a case that prints its
number and value. Both values are brought into one form before they are compared.
"""
import ipaddress
import json
import random
import re
import subprocess
import sys
from pathlib import Path

qcf, folder, seed = sys.argv[1], Path(sys.argv[2]), int(sys.argv[3])
rng = random.Random(seed)


class Group:
    """Cases of one function: `statements` are its body, `value` reads a line of qcf's output."""

    def __init__(self, name, statements, value):
        self.name, self.value = name, value
        self.function = {"name": name, "body": {"class": "Block", "stmts": statements}}
        self.routes, self.bird = [], []

    def case(self, route, bird):
        """`bird` are the statements of a function; the last one is the expression to print."""
        self.routes.append(route)
        self.bird.append(bird)


groups = []
lists = {"qcf": "lists/1", "prefixLists": {}, "communityLists": {}, "largeCommunityLists": {},
         "extCommunityLists": {}, "asPathAccessLists": {}}
builtIns = [
    {"name": name, "argumentsExpected": True, "body": {"class": "Block", "stmts": [{"class": body}]}}
    for name, body in (("remove", "AsPathRemoveImplExpr"), ("replace", "AsPathReplaceImplExpr"))]


def group(name, statements, value):
    groups.append(Group(name, statements, value))
    return groups[-1]


def node(class_, **fields):
    return {"class": class_, **fields}


def returning(condition):
    return [node("ReturnExpression", expr=condition)]


def changing(*statements):
    return [*statements, node("ReturnExpression", expr=True)]


# What qcf prints, in the common form.

def result(line):
    return line["result"]


def changed(attribute, before):
    """The sorted members of a set after the function; what it left alone is as it was."""
    return lambda line, route: sorted(line["changes"].get(attribute, route.get(before, [])))


def path(line, route):
    return [int(asn) for asn in line["changes"].get("as_path", route["as_path"]).split()]


# What BIRD prints.

def birdTuples(text):
    return sorted(":".join(re.findall(r"[a-z0-9.]+", inner))
                  for inner in re.findall(r"\(([^()]*)\)", text))


def birdPath(text):
    return [int(asn) for asn in re.findall(r"\d+", text)]


def birdBool(text):
    return {"TRUE": "true", "FALSE": "false"}[text]


# Prefix sets and prefix lists.

def randomPrefix(version, around=()):
    width = 32 if version == 4 else 128
    if around and rng.random() < 0.8:
        base = rng.choice(around)
        length = rng.randint(0, width) if rng.random() < 0.3 else \
            min(width, max(0, base.prefixlen + rng.randint(-3, 8)))
        address = int(base.network_address)
        if length > base.prefixlen:
            address |= rng.getrandbits(length - base.prefixlen) << (width - length)
    else:
        length = rng.randint(0, width)
        address = rng.getrandbits(width)
    address &= ~((1 << (width - length)) - 1)
    kind = ipaddress.IPv4Network if version == 4 else ipaddress.IPv6Network
    return kind((address, length))


def prefixEntries(version, count):
    width = 32 if version == 4 else 128
    entries = []
    for seq in range(1, count + 1):
        prefix = randomPrefix(version, [entry["net"] for entry in entries])
        ge = rng.randint(prefix.prefixlen, width)
        le = rng.randint(ge, width)
        entries.append({"net": prefix, "seq": seq, "prefix": str(prefix), "ge": ge, "le": le,
                        "action": rng.choice(["permit", "permit", "deny"])})
    return entries


def birdPrefix(entry):
    return f"{entry['prefix']}{{{entry['ge']},{entry['le']}}}"


def prefixGroups():
    for number in range(16):
        version = rng.choice([4, 6])
        entries = prefixEntries(version, rng.randint(1, 25))
        permitsOnly = number % 2 == 0  # a set of BIRD's knows no order and no deny
        name = f"prefixes{number}"
        lists["prefixLists"][name] = {"family": f"v{version}", "entries": [
            {**{key: value for key, value in entry.items() if key != "net"},
             "action": "permit" if permitsOnly else entry["action"]} for entry in entries]}
        to = group(name, returning(node(
            "IpPrefixMatchPrefixList", lhs="prefix",
            rhs=node("PrefixListImmediate", name=name, isV4=version == 4))),
            lambda line, route: result(line))
        to.read = birdBool
        for _ in range(60):
            candidate = randomPrefix(version, [entry["net"] for entry in entries])
            if permitsOnly:
                bird = [f"{candidate} ~ [ {', '.join(map(birdPrefix, entries))} ]"]
            else:
                tries = [f"if {candidate} ~ [ {birdPrefix(entry)} ] then "
                         f"{{ print \"@NUMBER \", {'true' if entry['action'] == 'permit' else 'false'};"
                         " return 1; }" for entry in entries]
                bird = [*tries, "false"]
            to.case({"prefix": str(candidate)}, bird)


# Communities. A kind knows how both sides write its members.

class Kind:
    def __init__(self, attribute, list_, classes, birdType, empty, parts):
        self.attribute, self.list, self.classes = attribute, list_, classes
        self.birdType, self.empty, self.parts = birdType, empty, parts

    def random(self):
        return tuple(rng.choice(part) for part in self.parts)

    def text(self, community):
        if self.birdType == "eclist":
            return "0x0002%04x%08x" % community[1:]
        return ":".join(map(str, community))

    def asQcfPrints(self, bird):
        """A member as BIRD prints it, "rt:1:2" or "1:2", as qcf does."""
        parts = bird.split(":")
        return "0x0002%04x%08x" % (int(parts[1]), int(parts[2])) if parts[0] == "rt" else bird

    @staticmethod
    def bird(community):
        return "(" + ",".join(map(str, community)) + ")"


kinds = [
    Kind("community", "communityLists", ("IntSet", "CommList"), "clist", "-empty-",
         [[65000, 65001], list(range(12))]),
    Kind("large_community", "largeCommunityLists", ("CommunitySet", "LargeCommList"), "lclist",
         "---empty---", [[65000, 4200000000], [1, 2], list(range(5))]),
    Kind("ext_community", "extCommunityLists", ("CommunitySet", "ExtCommList"), "eclist",
         "--empty--", [["rt"], [65000, 65001], list(range(6))]),
]


def birdSet(kind, route):
    return [f"{kind.birdType} c = {kind.empty}",
            *(f"c = add(c, {kind.bird(community)})" for community in route)]


def communityGroup(kind, name, statements, value, bird, cases=40):
    to = group(name, statements, value)
    isTest = statements[0]["class"] == "ReturnExpression"
    to.read = birdBool if isTest else \
        lambda text: sorted(map(kind.asQcfPrints, birdTuples(text.split(" ", 1)[1])
                                if " " in text else []))
    for _ in range(cases):
        route = [kind.random() for _ in range(rng.randint(0, 8))]
        to.case({kind.attribute: [kind.text(community) for community in route]},
                [*birdSet(kind, route), *bird])


def communityGroups():
    for number in range(2):
        for kind in kinds:
            one = [kind.random() for _ in range(rng.randint(1, 4))]
            other = [kind.random() for _ in range(rng.randint(1, 3))]
            texts = [kind.text(community) for community in one]
            members = f"[ {', '.join(map(kind.bird, one))} ]"
            family, suffix = kind.classes
            name = f"{kind.attribute}{number}"
            lists[kind.list][name] = [{"action": "permit", "communities": [text]} for text in texts]
            lists[kind.list][name + "all"] = [
                {"action": "deny", "communities": [kind.text(community) for community in other]},
                {"action": "permit", "communities": texts}]
            after = changed(kind.attribute, kind.attribute)

            def test(operation, bird, **fields):
                communityGroup(kind, f"{name}{operation}", returning(node(
                    family + operation, lhs=kind.attribute, **fields)),
                    lambda line, route: result(line), bird)

            def edit(operation, bird, **fields):
                communityGroup(kind, f"{name}{operation}", changing(node(
                    family + operation, lhs=kind.attribute, **fields)), after, bird)

            carriesAll = [" && ".join(f"{kind.bird(community)} ~ c" for community in items)
                          for items in (one, other)]
            test("HasAnyImmediate", [f"c ~ {members}"], rhs=texts)
            test("HasNoneImmediate", [f"c !~ {members}"], rhs=texts)
            test("HasAllImmediate", [carriesAll[0]], rhs=texts)
            test("Match" + suffix, [f"c ~ {members}"], listName=name)
            communityGroup(kind, name + "all", returning(node(
                f"{family}Match{suffix}", lhs=kind.attribute, listName=name + "all")),
                lambda line, route: result(line),
                [f"! ({carriesAll[1]}) && {carriesAll[0]}"])
            additions = [f"c = add(c, {kind.bird(community)})" for community in one]
            edit("AddImmediate", [*additions, "c"], rhs=texts)
            edit("RemoveImmediate", [f"delete(c, {members})"], rhs=texts)
            edit("RetainImmediate", [f"filter(c, {members})"], rhs=texts)
            edit("Add" + suffix, [*additions, "c"], listName=name)
            edit("Remove" + suffix, [f"delete(c, {members})"], listName=name)
            edit("Retain" + suffix, [f"filter(c, {members})"], listName=name)
            edit("Assign" + suffix, [f"c = {kind.empty}", *additions, "c"], listName=name)
            communityGroup(kind, name + "chain", changing(
                node(f"{family}Remove{suffix}", lhs=kind.attribute, listName=name),
                node(f"{family}AddImmediate", lhs=kind.attribute,
                     rhs=[kind.text(community) for community in other])), after,
                [f"c = delete(c, {members})",
                 *(f"c = add(c, {kind.bird(community)})" for community in other), "c"])
    # Ranges of BIRD's against patterns.
    lists["communityLists"]["range"] = [{"action": "permit", "regex": "^65000:([3-9]|1[01])$"}]
    communityGroup(kinds[0], "rangeRemove", changing(node(
        "IntSetRemoveCommList", lhs="community", listName="range")),
        changed("community", "community"), ["delete(c, [ (65000,3..11) ])"])
    communityGroup(kinds[0], "rangeRetain", changing(node(
        "IntSetRetainCommList", lhs="community", listName="range")),
        changed("community", "community"), ["filter(c, [ (65000,3..11) ])"])


# AS paths.

asns = [65001, 65002, 65003, 165001, 6500, 1, 4200000000]

masks = [  # BIRD's masks and the patterns that say the same
    ("[= * 65001 * =]", "_65001_"),
    ("[= 65001 * =]", "^65001_"),
    ("[= * 65001 =]", "_65001$"),
    ("[= 65001 65002 =]", "^65001_65002$"),
    ("[= 65001 ? 65002 =]", "^65001 [0-9]+ 65002$"),
    ("[= * 65001 65002 * =]", "_65001_65002_"),
    ("[= * =]", ""),
    ("[= =]", "^$"),
    ("[= ? ? =]", "^[0-9]+_[0-9]+$"),
    ("[= * [65001, 65003] * =]", "_(65001|65003)_"),
    ("[= * 1 ? * =]", "_1_[0-9]"),
]


def randomPath():
    return [rng.choice(asns) for _ in range(rng.randint(0, 6))]


def pathGroup(name, statements, value, read, bird, cases=40):
    to = group(name, statements, value)
    to.read = read
    for _ in range(cases):
        route = randomPath()
        to.case({"as_path": " ".join(map(str, route))},
                ["bgppath p = +empty+", *(f"p = prepend(p, {asn})" for asn in reversed(route)),
                 *bird])


def nodeArguments(singletons, lower=None, upper=None):
    chain = [node("IntSetImmediate", head=singletons, cachable=True)]
    for bounds in (lower, upper):
        if bounds:
            chain.append(node("IntListImmediate", head=bounds, cachable=True))
    return chain


def pathGroups():
    for number, (mask, pattern) in enumerate(masks):
        name = f"mask{number}"
        lists["asPathAccessLists"][name] = [{"action": "permit", "regex": pattern}]
        pathGroup(name, returning(node("AsPathMatchAsPathAccessList", lhs="as_path", listName=name)),
                  lambda line, route: result(line), birdBool, [f"p ~ {mask}"], cases=120)
    lists["asPathAccessLists"]["order"] = [
        {"action": "deny", "regex": "_65002$"}, {"action": "permit", "regex": "^65001_"},
        {"action": "deny", "regex": "_1_"}, {"action": "permit", "regex": "_65003_"}]
    pathGroup("order", returning(node("AsPathMatchAsPathAccessList", lhs="as_path",
                                      listName="order")),
              lambda line, route: result(line), birdBool,
              ["p !~ [= * 65002 =] && (p ~ [= 65001 * =] || "
               "(p !~ [= * 1 * =] && p ~ [= * 65003 * =]))"], cases=120)
    for derived, bird in (("length", "p.len"), ("last_as", "p.first"), ("origin_as", "p.last")):
        pathGroup(derived, changing(node("IntAssign", lhs="med", rhs=f"as_path.{derived}")),
                  lambda line, route: line["changes"]["med"], int, [bird])
    pathGroup("prepend", changing(node("AsPathPrepend", lhs="as_path", rhs=[7, 8, 7])), path,
              birdPath, ["p = prepend(prepend(prepend(p, 7), 8), 7)", "p"])
    pathGroup("remove1", changing(node("FunctionCallExpression", calleeName="remove",
                                       argListHead=nodeArguments([65001, 1]))), path, birdPath,
              ["delete(p, [65001, 1])"])
    pathGroup("remove2", changing(node(
        "FunctionCallExpression", calleeName="remove",
        argListHead=nodeArguments([1], [64512, 4200000000], [65534, 4294967294]))), path, birdPath,
        ["delete(p, [1, 64512..65534, 4200000000..4294967294])"])


def run(arguments):
    done = subprocess.run(arguments, capture_output=True, text=True)
    if done.returncode != 0:
        sys.exit(f"{arguments[0]} failed ({done.returncode}): {done.stderr[-2000:]}")
    return done


def birdValues():
    config = ["router id 192.0.2.1;", "protocol device {}"]
    number = 0
    for each in groups:
        for bird in each.bird:
            body = [statement.replace("NUMBER", str(number)) for statement in bird[:-1]]
            lines = [line if line.endswith("}") else line + ";" for line in body]
            config += [f"function case{number}() {{", *lines, f'print "@{number} ", {bird[-1]};',
                       "return 1; }", f"eval case{number}();"]
            number += 1
    (folder / "bird.conf").write_text("\n".join(config) + "\n")
    printed = run(["bird", "-p", "-c", str(folder / "bird.conf")])
    found = re.findall(r"@(\d+) (.*)", printed.stdout + printed.stderr)
    if [int(index) for index, _ in found] != list(range(number)):
        sys.exit(f"BIRD printed {len(found)} of {number} values")
    return [text.strip() for _, text in found]


def qcfLines():
    document = {"qcf": "aet/1", "functions": builtIns + [each.function for each in groups]}
    (folder / "policy.json").write_text(json.dumps(document))
    (folder / "lists.json").write_text(json.dumps(lists))
    lines = []
    for each in groups:
        routes = folder / "routes.jsonl"
        routes.write_text("".join(json.dumps(route) + "\n" for route in each.routes))
        lines += run([qcf, "eval", str(folder / "policy.json"), "--function", each.name,
                      "--routes", str(routes), "--lists", str(folder / "lists.json"),
                      "--output", "jsonl"]).stdout.splitlines()
    return [json.loads(line) for line in lines]


prefixGroups()
communityGroups()
pathGroups()
expected, actual = birdValues(), qcfLines()
cases = [(each, route, bird) for each in groups for route, bird in zip(each.routes, each.bird)]
if not len(expected) == len(actual) == len(cases):
    sys.exit(f"{len(cases)} cases, {len(expected)} values of BIRD, {len(actual)} of qcf")
different = 0
for (each, route, bird), text, line in zip(cases, expected, actual):
    ours, theirs = each.value(line, route), each.read(text)
    if ours != theirs:
        different += 1
        if different <= 10:
            print(f"{each.name}: {route}\n  BIRD: {bird} gives {text}\n  qcf: {line}")
print(f"{len(cases)} cases of {len(groups)} functions, {different} differ")
sys.exit(1 if different else 0)
