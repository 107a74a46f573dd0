"""Holds reports of tests against the structure that their readers want, and against each other.

usage: reports.py JUNIT JSON LCOV
"""

import json
import sys
import xml.etree.ElementTree as xml
from collections import defaultdict

# Element: its attributes (all of them wanted), its children.
STRUCTURE = {
    "testsuites": ({"tests", "failures", "time"}, {"testsuite"}),
    "testsuite": ({"name", "tests", "failures", "time"}, {"testcase"}),
    "testcase": ({"name", "classname", "file", "line", "time"}, {"failure"}),
    "failure": ({"message"}, set()),
}
NUMBERS = {"tests": int, "failures": int, "time": float, "line": int}


def checkElement(element):
    attributes, children = STRUCTURE[element.tag]
    assert set(element.attrib) == attributes, (element.tag, element.attrib)
    for name, value in element.attrib.items():
        assert NUMBERS.get(name, lambda text: 0)(value) >= 0, (element.tag, name, value)
    for child in element:
        assert child.tag in children, (element.tag, child.tag)
        checkElement(child)
    cases = element.findall(".//testcase") if element.tag != "testcase" else []
    if cases:
        assert int(element.get("tests")) == len(cases)
        assert int(element.get("failures")) == len(element.findall(".//failure"))


def checkJUnit(path):
    root = xml.parse(path).getroot()
    assert root.tag == "testsuites"
    checkElement(root)
    titles = [case.get("name") for case in root.iter("testcase")]
    assert "a <b> & \"c\" 'd' ]]> é" in titles, "escaped titles read back"
    failed = {case.get("classname") for case in root.iter("testcase") if len(case)}
    assert failed == {"examples/hard.qcf", "examples/broken.qcf"}, failed
    return titles


def readJson(path):
    lines = [json.loads(line) for line in open(path, encoding="utf-8")]
    tests = [line for line in lines if "test" in line]
    errors = [line for line in lines if "error" in line]
    assert len(errors) == 1 and errors[0]["file"] == "examples/broken.qcf"
    assert set(tests[0]) == {"file", "test", "line", "passed", "seconds", "findings"}
    assert all(test["passed"] == (not test["findings"]) for test in tests)
    return [test["test"] for test in tests], lines[-1]["files"]


def rows(ranges):
    found = set()
    for each in ranges:
        found |= set(range(each["start"]["row"], each["end"]["row"] + 1))
    return found


def readLcov(path):
    """File to its lines with their counts; checks what the records say of themselves."""
    files, record = {}, None
    for line in open(path, encoding="utf-8"):
        tag, _, rest = line.rstrip("\n").partition(":")
        if tag == "TN":
            record = defaultdict(list)
        elif tag == "end_of_record":
            checkRecord(record)
            files[record["SF"][0]] = {int(n): int(count) for n, count in
                                      (each.split(",") for each in record["DA"])}
        else:
            assert tag in {"SF", "FN", "FNDA", "FNF", "FNH", "DA", "BRDA", "BRF", "BRH", "LF", "LH"}
            record[tag].append(rest)
    return files


def checkRecord(record):
    def counts(tag, split):
        return [split(each) for each in record[tag]]

    for found, hit, numbers in (
            ("FNF", "FNH", counts("FNDA", lambda text: text.split(",")[0])),
            ("LF", "LH", counts("DA", lambda text: text.split(",")[1])),
            ("BRF", "BRH", counts("BRDA", lambda text: text.split(",")[3].replace("-", "0")))):
        assert int(record[found][0]) == len(numbers)
        assert int(record[hit][0]) == sum(int(n) > 0 for n in numbers)
    functions = {each.split(",")[1] for each in record["FN"]}
    assert functions == {each.split(",")[1] for each in record["FNDA"]}
    blocks = defaultdict(set)
    for each in record["BRDA"]:
        line, block, branch, _ = each.split(",")
        blocks[block].add(int(branch))
        assert int(line) > 0
    assert all(branches in ({0, 1}, {0, 1, 2}) for branches in blocks.values())


def main():
    junit, report, lcov = sys.argv[1:]
    titles, files = readJson(report)
    noXml = {0xfffe: "?", 0xffff: "?"}
    assert [t for t in checkJUnit(junit) if t != "the text is read"] == [
        title.translate(noXml) for title in titles]
    lines = readLcov(lcov)
    assert set(lines) == set(files)
    for name, each in files.items():
        counts = {key: 0 for key in ("entered", "true", "false", "unknown", "exits")}
        for node in each["nodes"]:
            assert set(node) == {"key", "at", *counts} and node["at"][0] == name
            ended = sum(node[key] for key in counts if key != "entered")
            assert ended == node["entered"], "no evaluation ends in an exception here"
        # Each line that lcov counts begins a statement that the ranges have on the same side, or
        # on the other one for another statement of the line.
        covered, missed = rows(each["covered"]), rows(each["not_covered"])
        assert not covered & missed, (name, covered & missed)
        for line, count in lines[name].items():
            assert line in (covered | missed if count else missed), (name, line)


main()
