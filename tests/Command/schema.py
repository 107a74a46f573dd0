"""Holds `qcf schema` against a validator, the examples and documents that are wrong in form."""

import copy
import json
import subprocess
import sys
from pathlib import Path

import jsonschema

BINARY, EXAMPLES = sys.argv[1], Path(sys.argv[2])
failures = 0


def output(*arguments):
    return subprocess.run([BINARY, *arguments], capture_output=True, text=True, check=True).stdout


def validator(name):
    schema = json.loads(output("schema", "--format", name))
    jsonschema.Draft202012Validator.check_schema(schema)
    return jsonschema.Draft202012Validator(schema)


def expect(condition, *what):
    global failures
    if not condition:
        failures += 1
        print("FAILED:", *what)


def takes(valid, value, *what):
    error = next(valid.iter_errors(value), None)
    expect(error is None, *what, error and f"{list(error.absolute_path)}: {error.message[:200]}")


def functionOf(*statements):
    return {"qcf": "aet/1", "functions": [{"name": "f", "body": {"class": "Block", "stmts": list(statements)}}]}


def set_(**fields):
    return functionOf({"class": "IntAssign", "lhs": "med", "rhs": 1, **fields})


def without(value, key):
    return {k: v for k, v in value.items() if k != key}


def examplesValidate(document, lists, routes):
    counts = {"document": 0, "lists": 0, "routes": 0}
    for path in sorted(EXAMPLES.glob("*.json")):
        value = json.loads(path.read_text())
        isLists = value.get("qcf") == "lists/1"
        takes(lists if isLists else document, value, path.name)
        counts["lists" if isLists else "document"] += 1
        if not isLists:
            takes(document, json.loads(output("dump", str(path), "--format", "json")), "flat", path.name)
    for path in sorted(EXAMPLES.glob("*.jsonl")):
        for line in filter(None, path.read_text().splitlines()):
            takes(routes, json.loads(line), path.name)
            counts["routes"] += 1
    expect(all(counts.values()), "nothing to look at", counts)


def classesValidate(document):
    """The example of every class, and what `qcf dump` writes of it."""
    callee = {"name": "example", "argumentsExpected": True, "body": {"class": "Block"}}
    for name in (row["class"] for row in json.loads(output("nodes", "--format", "json"))):
        example = json.loads(output("nodes", name, "--format", "json"))["example"]
        node = {"class": name} if isinstance(example, str) else example
        takes(document, {"qcf": "aet/1", "nodes": [node], "functions": [callee]}, name)


LITERALS = functionOf(
    {"class": "IntIs", "lhs": 18446744073709551615, "rhs": -18446744073709551615},
    {"class": "IntInImmediateSet", "lhs": "med", "rhs": [1, "65000:1", "no-export", "med", {"class": "IntImmediate", "value": 1, "negative": True}]},
    {"class": "IpAddressAssign", "lhs": "next_hop", "rhs": ""}, {"class": "IpPrefixIs", "lhs": "prefix", "rhs": "2001:db8::/32"},
    {"class": "CommunityValueIn", "lhs": {"value": 1, "type": 2}, "rhs": ["rt:1:2", "65000:1:2"]},
    {"class": "TriStateBoolIs", "lhs": "unknown", "rhs": True}, {"class": "BandwidthIs", "lhs": 8000.0, "rhs": -1},
    {"class": "NotExpression", "key": 7, "expr": "unknown"}, {"ref": 7}, "unknown",
)

DOCUMENTS = {
    "no format": without(set_(), "qcf"),
    "another format": {**set_(), "qcf": "lists/1"},
    "an unknown member": {**set_(), "comment": ""},
    "an unknown class": functionOf({"class": "Nothing"}),
    "no class": functionOf({"lhs": "med", "rhs": 1}),
    "an unknown field": set_(value=1),
    "a missing field": functionOf({"class": "IntAssign", "lhs": "med"}),
    "a target that cannot be written": set_(lhs="input.med"),
    "a text for an integer": set_(rhs="5"),
    "a fraction for an integer": set_(rhs=5.5),
    "too large an integer": set_(rhs=18446744073709551616),
    "a value as a statement": functionOf({"class": "IntImmediate", "value": 1, "negative": False}),
    "a slot beyond its width": functionOf({"class": "IntMatchTagSet", "lhs": "igp.tag", "tagSetName": "T", "index": 65536}),
    "an operator that is none": functionOf({"class": "LogicalOperatorExpression", "expressionList": [True, True], "operatorList": ["xor"]}),
    "no operator": functionOf({"class": "LogicalOperatorExpression", "expressionList": [True], "operatorList": []}),
    "key 0": functionOf({"class": "Block", "key": 0}),
    "a class in an entry of functions": {"qcf": "aet/1", "functions": [{"class": "Function", "name": "f", "body": {"class": "Block"}}]},
}


def prefixList(**fields):
    entry = {"seq": 1, "action": "permit", "prefix": "10.0.0.0/8", **fields}
    return {"prefixLists": {"P": {"family": "v4", "entries": [entry]}}}


LISTS = {
    "an unknown section": {"lists": {}},
    "an action that is none": prefixList(action="allow"),
    "a prefix without length": prefixList(prefix="10.0.0.0"),
    "an unknown key": prefixList(eq=8),
    "no seq": {"prefixLists": {"P": {"family": "v4", "entries": [{"action": "permit", "prefix": "::/0"}]}}},
    "a family that is none": {"prefixLists": {"P": {"family": "v5", "entries": []}}},
    "communities and a pattern": {"communityLists": {"C": [{"action": "permit", "communities": [], "regex": ""}]}},
    "neither": {"largeCommunityLists": {"C": [{"action": "permit"}]}},
    "a large one among extended ones": {"extCommunityLists": {"C": [{"action": "permit", "communities": ["1:2:3"]}]}},
    "an origin that is none": {"asPathAccessLists": {"A": [{"action": "deny", "regex": "_1_", "origin": "bgp"}]}},
    "a negative tag": {"tagSets": {"T": [-1]}},
    "a VRF that is none": {"dynamicPrefixLists": {"D": {"vrfs": {"red": True}}}},
    "a payload without AS": {"roaTables": {"R": [{"prefix": "10.0.0.0/8"}]}},
}
ROUTES = {
    "an unknown attribute": {"mde": 1}, "one that is derived": {"as_path.length": 1}, "an input twin": {"input.med": 1},
    "too large a number": {"med": 4294967296}, "an origin that is none": {"origin": 3}, "a text for a number": {"med": "1"},
    "a prefix that is none": {"prefix": "ten"}, "an AS path of words": {"as_path": "AS1"}, "one community alone": {"community": "1:1"},
    "a level that is none": {"isis.levels": [3]}, "an unknown key of the session": {"session": {"as": 1}},
}


def refuses(valid, command, wrong, base):
    """What is refused is refused by the command, too: the schema is no stricter than it."""
    for what, value in wrong.items():
        text = json.dumps({**base, **copy.deepcopy(value)})
        expect(not valid.is_valid(json.loads(text)), "is valid:", what)
        run = subprocess.run([BINARY, *command], input=text, capture_output=True, text=True)
        expect(run.returncode == 1, "the command takes:", what, run.stdout[:200])


def main():
    document, lists, routes = validator("document"), validator("lists"), validator("routes")
    examplesValidate(document, lists, routes)
    classesValidate(document)
    takes(document, LITERALS, "literals")
    accept = str(EXAMPLES / "accept.json")
    name = json.loads(Path(accept).read_text())["functions"][0]["name"]
    refuses(document, ["dump", "-"], DOCUMENTS, {})
    refuses(lists, ["check", accept, "--lists", "-"], LISTS, {"qcf": "lists/1"})
    refuses(routes, ["eval", accept, "--function", name, "--routes", "-"], ROUTES, {})
    takes(routes, {"origin": 256, "community": [1, "no-export"], "as_path": "1 {2,3} (4)"}, "values at the edge")
    sys.exit(1 if failures else 0)


main()
